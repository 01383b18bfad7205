#include "modelio/read_model.hpp"

#include <new>

#include "modelio/mps_parser.hpp"
#include "modelio/text_source.hpp"

namespace ov::modelio {

// Nothing in a file says which format it has, and most fixed files read well as free ones; only
// names with blanks need the columns. So the free reading is tried first, and when both fail, the
// one that came further tells the reason.
ModelData readModelText(std::string_view text, std::string_view file) {
    try {
        return parseMps(text, file, Layout::Free);
    } catch (const ReadError& freeError) {
        try {
            return parseMps(text, file, Layout::Fixed);
        } catch (const ReadError& fixedError) {
            if (fixedError.line() > freeError.line()) throw;
        }
        throw;
    }
}

ModelData readModel(const std::string& path) {
    try {
        return readModelText(loadText(path), displayName(path));
    } catch (const std::bad_alloc&) {
        throw ReadError(ReadError::Kind::Invalid, displayName(path), 0, "not enough memory");
    }
}

}  // namespace ov::modelio
