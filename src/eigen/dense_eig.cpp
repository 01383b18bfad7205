#include "eigen/dense_eig.hpp"

#include <algorithm>
#include <limits>

#include "eigen/lapack.hpp"

namespace ovrelin {

std::size_t denseEigWork(std::int32_t m) {
    const auto order = static_cast<std::size_t>(m);
    return (2 * order + 11) * order + 3;
}

std::int32_t denseEig(char jobz, std::int32_t m, double* H, std::int32_t ldh, double* w,
                      double* work, std::size_t workSize) {
    const std::size_t most = std::numeric_limits<std::int32_t>::max();
    const auto lwork = static_cast<std::int32_t>(std::min(workSize, most));
    std::int32_t info = 0;
    dsyev_(&jobz, "U", &m, H, &ldh, w, work, &lwork, &info);
    return info;
}

}  // namespace ovrelin
