// Matrix products of the factorisation, C = A B', C += A B' and C -= A B', for every size from one
// column up.
// Column-major throughout. They do not call DGEMM: the set-up of a call costs more than a small
// product, and an OpenBLAS built for one thread (Debian's serial package) gives two threads that
// call it at the same moment the same packing buffer. Register blocks that read A and B where they
// lie are as fast at the sizes of a front.
#pragma once

#include <cstdint>

namespace ovrelin {

/// A rectangular operand: entry (r, c) is data[r + c * ld].
struct ConstBlock {
    const double* data;
    std::int64_t ld;

    [[nodiscard]] const double* at(std::int32_t row, std::int32_t col) const {
        return data + row + col * ld;
    }
    [[nodiscard]] ConstBlock from(std::int32_t row, std::int32_t col) const {
        return {at(row, col), ld};
    }
};
struct Block {
    double* data;
    std::int64_t ld;

    [[nodiscard]] double* at(std::int32_t row, std::int32_t col) const {
        return data + row + col * ld;
    }
    [[nodiscard]] Block from(std::int32_t row, std::int32_t col) const {
        return {at(row, col), ld};
    }
    operator ConstBlock() const { return {data, ld}; }
};

/// C (m x n) -= A (m x k) B' (k x n), B stored n x k.
void subtractProduct(std::int32_t m, std::int32_t n, std::int32_t k, ConstBlock a, ConstBlock b,
                     Block c);

/// C (m x n) = A B'.
void setProduct(std::int32_t m, std::int32_t n, std::int32_t k, ConstBlock a, ConstBlock b,
                Block c);

/// C (m x n) += A B'.
void addProduct(std::int32_t m, std::int32_t n, std::int32_t k, ConstBlock a, ConstBlock b,
                Block c);

/// The same on a lower trapezoid, m >= n: entries (r, c) with r >= c only. The strict upper
/// triangle of C is neither read nor written; that of A B' is symmetric by the caller's promise (B
/// = A D for the first n rows).
void subtractProductLower(std::int32_t m, std::int32_t n, std::int32_t k, ConstBlock a,
                          ConstBlock b, Block c);
void setProductLower(std::int32_t m, std::int32_t n, std::int32_t k, ConstBlock a, ConstBlock b,
                     Block c);
void addProductLower(std::int32_t m, std::int32_t n, std::int32_t k, ConstBlock a, ConstBlock b,
                     Block c);

/// out (count) -= A coef, with A count x k and coef[p * stride], p < k: one column of a product
/// whose inner dimension is a few columns. k may be 0.
void subtractColumns(std::int32_t count, std::int32_t k, ConstBlock a, const double* coef,
                     std::int64_t stride, double* out);

}  // namespace ovrelin
