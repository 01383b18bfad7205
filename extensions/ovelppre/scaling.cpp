#include "scaling.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace scaling {
namespace {

constexpr int32_t outOfMemory = -1086;
constexpr int32_t directionLinear = 1;
/// Passes gain little after the first few, and factors need not be accurate.
constexpr int maxPasses = 4;
/// A pass that narrows the spread of magnitudes by less than this many binary digits is the last.
constexpr double worthwhileBits = 0.5;
/// Factors beyond 2^64 would mend one entry at the cost of the accuracy of all others.
constexpr int maxExponent = 64;

/// `count` elements of a pool, given back at the end of the scope.
template <class T>
class Buffer {
public:
    Buffer(MemoryPool* pool, int32_t count)
        : pool_(pool),
          data_(static_cast<T*>(pool->allocate(pool, (static_cast<uint64_t>(count) + 1) * sizeof(T),
                                               OVRELIN_ALLOCATE_ZERO))) {}
    ~Buffer() {
        if (data_ != nullptr) pool_->free(pool_, data_);
    }
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;
    [[nodiscard]] bool isSet() const { return data_ != nullptr; }
    T& operator[](int32_t k) { return data_[k]; }
    const T& operator[](int32_t k) const { return data_[k]; }

private:
    MemoryPool* pool_;
    T* data_;
};

struct Model {
    int32_t numRow, numCol;
    const int32_t* colBegin;
    const int32_t* colLength;
    const int32_t* rowIndex;
    double* matValue;
    double* obj;
    double* lower;
    double* upper;
    double* rhs;
    double* range;

    [[nodiscard]] int32_t colEnd(int32_t j) const { return colBegin[j] + colLength[j]; }
};

/// Calls visit(j, k) for every entry k of every column j.
template <class Visit>
void forEachEntry(const Model& model, Visit visit) {
    for (int32_t j = 0; j < model.numCol; ++j)
        for (int32_t k = model.colBegin[j]; k < model.colEnd(j); ++k) visit(j, k);
}

bool isAbsent(double bound) {
    return !(std::fabs(bound) < absentBound);
}

/// An interval of binary logarithms; empty until the first take().
struct LogInterval {
    double low = std::numeric_limits<double>::infinity();
    double high = -std::numeric_limits<double>::infinity();

    void take(double value) {
        low = std::min(low, value);
        high = std::max(high, value);
    }
    /// Logarithm of the factor that brings the geometric mean of both ends to 1.
    [[nodiscard]] double centring() const { return low <= high ? -0.5 * (low + high) : 0.0; }
    [[nodiscard]] double width() const { return low <= high ? high - low : 0.0; }
};

/// Binary logarithms of the entries and of the factors found so far.
struct Logs {
    Logs(MemoryPool* pool, int32_t numRow, int32_t numCol, int32_t numCoef)
        : entry(pool, numCoef), row(pool, numRow), col(pool, numCol), interval(pool, numRow) {}
    [[nodiscard]] bool isSet() const {
        return entry.isSet() && row.isSet() && col.isSet() && interval.isSet();
    }
    Buffer<float> entry;  // NaN for an entry that is zero or not finite: it has no say
    Buffer<double> row, col;
    Buffer<LogInterval> interval;  // of every row, scratch
};

void takeLogs(const Model& model, Logs& logs) {
    forEachEntry(model, [&](int32_t, int32_t k) {
        const double size = std::fabs(model.matValue[k]);
        const bool hasLog = size > 0 && std::isfinite(size);
        logs.entry[k] =
            hasLog ? static_cast<float>(std::log2(size)) : std::numeric_limits<float>::quiet_NaN();
    });
}

void centreRows(const Model& model, Logs& logs) {
    for (int32_t i = 0; i < model.numRow; ++i) logs.interval[i] = LogInterval();
    forEachEntry(model, [&](int32_t j, int32_t k) {
        const double log = static_cast<double>(logs.entry[k]);
        if (!std::isnan(log)) logs.interval[model.rowIndex[k]].take(log + logs.col[j]);
    });
    for (int32_t i = 0; i < model.numRow; ++i) logs.row[i] = logs.interval[i].centring();
}

void centreColumns(const Model& model, Logs& logs) {
    for (int32_t j = 0; j < model.numCol; ++j) {
        LogInterval interval;
        for (int32_t k = model.colBegin[j]; k < model.colEnd(j); ++k) {
            const double log = static_cast<double>(logs.entry[k]);
            if (!std::isnan(log)) interval.take(log + logs.row[model.rowIndex[k]]);
        }
        logs.col[j] = interval.centring();
    }
}

/// Width of the interval of all magnitudes under the factors of `logs`.
double spread(const Model& model, const Logs& logs) {
    LogInterval all;
    forEachEntry(model, [&](int32_t j, int32_t k) {
        const double log = static_cast<double>(logs.entry[k]);
        if (!std::isnan(log)) all.take(log + logs.row[model.rowIndex[k]] + logs.col[j]);
    });
    return all.width();
}

void findFactors(const Model& model, bool scaleColumns, Logs& logs) {
    double before = spread(model, logs);
    for (int pass = 0; pass < maxPasses; ++pass) {
        centreRows(model, logs);
        if (!scaleColumns) return;
        centreColumns(model, logs);
        const double after = spread(model, logs);
        if (before - after < worthwhileBits) return;
        before = after;
    }
}

/// The factors as powers of two.
struct Exponents {
    Exponents(MemoryPool* pool, int32_t numRow, int32_t numCol)
        : row(pool, numRow), col(pool, numCol) {}
    [[nodiscard]] bool isSet() const { return row.isSet() && col.isSet(); }
    Buffer<int> row, col;
    int obj = 0;
};

int roundedExponent(double log) {
    const double limit = maxExponent;
    return static_cast<int>(std::lround(std::clamp(log, -limit, limit)));
}

int objectiveExponent(const Model& model, const Exponents& exponents) {
    LogInterval interval;
    for (int32_t j = 0; j < model.numCol; ++j) {
        const double size = std::fabs(model.obj[j]);
        if (size > 0 && std::isfinite(size)) interval.take(std::log2(size) + exponents.col[j]);
    }
    return roundedExponent(interval.centring());
}

void roundFactors(const Model& model, const Logs& logs, bool scaleColumns, Exponents& exponents) {
    for (int32_t i = 0; i < model.numRow; ++i) exponents.row[i] = roundedExponent(logs.row[i]);
    if (!scaleColumns) return;
    for (int32_t j = 0; j < model.numCol; ++j) exponents.col[j] = roundedExponent(logs.col[j]);
    if (model.obj != nullptr) exponents.obj = objectiveExponent(model, exponents);
}

/// True when value * 2^exponent is exact: a normal number again, or zero or not finite as before.
bool staysExact(double value, int exponent) {
    if (exponent == 0 || value == 0 || !std::isfinite(value)) return true;
    const int scaled = std::ilogb(value) + exponent;
    return scaled >= std::numeric_limits<double>::min_exponent - 1 &&
           scaled < std::numeric_limits<double>::max_exponent;
}

bool boundStaysExact(double bound, int exponent) {
    return isAbsent(bound) ||
           (staysExact(bound, exponent) && !isAbsent(std::ldexp(bound, exponent)));
}

/// Sets the exponents of `first` and `second` to 0; true when one of them was not.
bool drop(int& first, int& second) {
    const bool isChange = first != 0 || second != 0;
    first = second = 0;
    return isChange;
}

bool dropInexactColumnData(const Model& model, int32_t j, Exponents& e) {
    bool isChanged = false;
    int& col = e.col[j];
    if (model.obj != nullptr && !staysExact(model.obj[j], col + e.obj))
        isChanged |= drop(col, e.obj);
    for (const double* bounds : {model.lower, model.upper})
        if (bounds != nullptr && !boundStaysExact(bounds[j], -col)) isChanged |= drop(col, col);
    for (int32_t k = model.colBegin[j]; k < model.colEnd(j); ++k) {
        int& row = e.row[model.rowIndex[k]];
        if (!staysExact(model.matValue[k], row + col)) isChanged |= drop(row, col);
    }
    return isChanged;
}

bool dropInexactRowData(const Model& model, int32_t i, Exponents& e) {
    bool isChanged = false;
    for (const double* values : {model.rhs, model.range})
        if (values != nullptr && !staysExact(values[i], e.row[i]))
            isChanged |= drop(e.row[i], e.row[i]);
    return isChanged;
}

/// Takes back every factor under which some number would overflow or lose bits. Taking one back can
/// expose another number, so this repeats until nothing changes; each round ends some factor.
void keepExact(const Model& model, Exponents& exponents) {
    for (bool isChanged = true; isChanged;) {
        isChanged = false;
        for (int32_t j = 0; j < model.numCol; ++j)
            isChanged |= dropInexactColumnData(model, j, exponents);
        for (int32_t i = 0; i < model.numRow; ++i)
            isChanged |= dropInexactRowData(model, i, exponents);
    }
}

void storeFactors(const Model& model, const Exponents& exponents, double* rowScale,
                  double* colScale) {
    for (int32_t i = 0; i < model.numRow; ++i) rowScale[i] = std::ldexp(1.0, exponents.row[i]);
    for (int32_t j = 0; j < model.numCol; ++j) colScale[j] = std::ldexp(1.0, exponents.col[j]);
    rowScale[model.numRow] = std::ldexp(1.0, exponents.obj);
    colScale[model.numCol] = 1.0;
}

struct Multiply {
    double operator()(double value, double factor) const { return value * factor; }
};
struct Divide {
    double operator()(double value, double factor) const { return value / factor; }
};

/// Takes the model through its factors: forwards with (Multiply, Divide), back with the two
/// exchanged.
template <class Apply, class Reverse>
void transform(const Model& model, const double* rowScale, const double* colScale, Apply apply,
               Reverse reverse) {
    const double objScale = rowScale[model.numRow];
    for (int32_t j = 0; j < model.numCol; ++j) {
        const double factor = colScale[j];
        if (model.obj != nullptr) model.obj[j] = apply(model.obj[j], factor * objScale);
        for (double* bounds : {model.lower, model.upper})
            if (bounds != nullptr && !isAbsent(bounds[j])) bounds[j] = reverse(bounds[j], factor);
        for (int32_t k = model.colBegin[j]; k < model.colEnd(j); ++k)
            model.matValue[k] = apply(model.matValue[k], factor * rowScale[model.rowIndex[k]]);
    }
    for (double* values : {model.rhs, model.range})
        for (int32_t i = 0; values != nullptr && i < model.numRow; ++i)
            values[i] = apply(values[i], rowScale[i]);
}

}  // namespace

int32_t computeScaling(ScalingInstance* instance, int32_t direction, double, int32_t numRow,
                       int32_t numCol, int32_t, const int32_t* colBegin, const int32_t* colLength,
                       const int32_t* rowIndex, double* matValue, double* obj, double* lower,
                       double* upper, double* rowScale, double* colScale, void*, void*, double* rhs,
                       const char*, double* range, void*, void*, void*, void*) {
    const Model model{numRow, numCol, colBegin, colLength, rowIndex, matValue,
                      obj,    lower,  upper,    rhs,       range};
    int32_t numPosition = 0;  // entries may leave gaps, so that their number is not enough
    for (int32_t j = 0; j < numCol; ++j) numPosition = std::max(numPosition, model.colEnd(j));
    Logs logs(instance->pool, numRow, numCol, numPosition);
    Exponents exponents(instance->pool, numRow, numCol);
    if (!logs.isSet() || !exponents.isSet()) return outOfMemory;
    const bool scaleColumns = direction == directionLinear;
    takeLogs(model, logs);
    findFactors(model, scaleColumns, logs);
    roundFactors(model, logs, scaleColumns, exponents);
    keepExact(model, exponents);
    storeFactors(model, exponents, rowScale, colScale);
    transform(model, rowScale, colScale, Multiply(), Divide());
    return 0;
}

int32_t applyScaling(int32_t, int32_t numRow, int32_t numCol, const int32_t* colBegin,
                     const int32_t* colLength, const int32_t* rowIndex, double* matValue,
                     double* rhs, double* range, double* obj, double* lower, double* upper, void*,
                     void*, const double* rowScale, const double* colScale, double* solPrimal,
                     double* solDual, void*, double* rowActivity) {
    const Model model{numRow, numCol, colBegin, colLength, rowIndex, matValue,
                      obj,    lower,  upper,    rhs,       range};
    transform(model, rowScale, colScale, Divide(), Multiply());
    const double objScale = rowScale[numRow];
    for (int32_t j = 0; solPrimal != nullptr && j < numCol; ++j) solPrimal[j] *= colScale[j];
    for (int32_t i = 0; solDual != nullptr && i < numRow; ++i) solDual[i] *= rowScale[i] / objScale;
    for (int32_t i = 0; rowActivity != nullptr && i < numRow; ++i) rowActivity[i] /= rowScale[i];
    return 0;
}

}  // namespace scaling
