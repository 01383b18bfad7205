#include "modelio/read_model.hpp"

#include <new>

#include "modelio/mps_parser.hpp"
#include "modelio/text_source.hpp"

namespace ov::modelio {

// Nothing in a file says which format it has, and most fixed files read well as free ones; only
// names with blanks need the columns. So the free reading is tried first, and when both fail, the
// one that came further tells the reason.
ModelData readModelText(std::string_view text, std::string_view file) {
    std::int64_t freeEnd = 0;
    std::int64_t fixedEnd = 0;
    try {
        return parseMps(text, file, Layout::Free, freeEnd);
    } catch (const ReadError&) {
        try {
            return parseMps(text, file, Layout::Fixed, fixedEnd);
        } catch (const ReadError&) {
            if (fixedEnd > freeEnd) throw;
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
