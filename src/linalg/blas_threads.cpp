#include "linalg/blas_threads.hpp"

#include <cstring>

// Null where the BLAS is another vendor's.
extern "C" [[gnu::weak]] char* openblas_get_config();

namespace ovrelin {

bool blasServesThreads() {
    if (&openblas_get_config == nullptr) return true;
    const char* const config = openblas_get_config();
    const auto says = [config](const char* word) { return std::strstr(config, word) != nullptr; };
    if (!says("SINGLE_THREADED") || says("USE_LOCKING")) return true;
    return says("SkylakeX") || says("Cooperlake") || says("Sapphirerapids");
}

}  // namespace ovrelin
