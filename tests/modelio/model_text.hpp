// Short models for tests: a frame around the section that a case is about.
#pragma once

#include <string>

namespace ov::test {

/// A model with the columns x, y, the objective `cost` and the rows e (E), g (G), l (L); `tail`
/// stands from line 13 on, ENDATA follows.
///
///     1 NAME        4 N cost   7 L l       10 x e 1 g 2
///     2 * comment   5 E e      8 COLUMNS   11 x l 3
///     3 ROWS        6 G g      9 x cost 1  12 y cost 2 e 4
inline std::string modelWith(const std::string& tail) {
    return "NAME test\n* a comment\nROWS\n N cost\n E e\n G g\n L l\nCOLUMNS\n x cost 1\n"
           " x e 1 g 2\n x l 3\n y cost 2 e 4\n" +
           tail + "ENDATA\n";
}

}  // namespace ov::test
