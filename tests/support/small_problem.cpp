#include "support/small_problem.hpp"

#include <cmath>

namespace ovtest {
namespace {

/// Gaussian elimination with complete pivoting on `matrix` [n x n], row-major; false when it is
/// numerically singular. The solution replaces `rhs`.
bool solveDense(Array<double> matrix, int n, Array<double>& rhs) {
    const auto size = [](double a, double b) { return std::fabs(a) < std::fabs(b); };
    const double scale = std::fabs(*std::max_element(matrix.begin(), matrix.end(), size));
    Indices column = countUp(n);
    for (int k = 0; k < n; ++k) {
        int pr = k, pc = k;
        for (int i = k; i < n; ++i)
            for (int j = k; j < n; ++j)
                if (size(matrix[pr * n + pc], matrix[i * n + j])) pr = i, pc = j;
        if (!(std::fabs(matrix[pr * n + pc]) > 1e-10 * scale)) return false;
        for (int j = 0; j < n; ++j) std::swap(matrix[k * n + j], matrix[pr * n + j]);
        for (int i = 0; i < n; ++i) std::swap(matrix[i * n + k], matrix[i * n + pc]);
        std::swap(rhs[k], rhs[pr]);
        std::swap(column[k], column[pc]);
        for (int i = 0; i < n; ++i) {
            const double f = i == k ? 0 : matrix[i * n + k] / matrix[k * n + k];
            for (int j = k; j < n; ++j) matrix[i * n + j] -= f * matrix[k * n + j];
            rhs[i] -= f * rhs[k];
        }
    }
    Array<double> solution(n);
    for (int k = 0; k < n; ++k) solution[column[k]] = rhs[k] / matrix[k * n + k];
    rhs = solution;
    return true;
}

/// A problem with all its sides, columns first: each item is inactive (0), at its lower side (1) or
/// at its upper one (2).
struct Sides {
    explicit Sides(const SmallProblem& problem) : p(problem), low(p.lower), high(p.upper) {
        low.insert(low.end(), p.rowLower.begin(), p.rowLower.end());
        high.insert(high.end(), p.rowUpper.begin(), p.rowUpper.end());
        choice = Indices(low.size());
    }

    bool next() {
        for (std::size_t k = 0; k < choice.size(); ++k) {
            do ++choice[k];
            while ((choice[k] == 1 && low[k] <= -absent) || (choice[k] == 2 && high[k] >= absent));
            if (choice[k] <= 2) return true;
            choice[k] = 0;
        }
        return false;
    }

    /// Minimiser over the chosen sides taken as equations; false when not unique.
    bool solve(const Array<double>& c, const Array<double>& q) {
        const int n = p.numCol, numItem = n + p.numRow;
        Indices active;
        for (int item = 0; item < numItem; ++item)
            if (choice[item] != 0) active.push_back(item);
        const int m = static_cast<int>(active.size()), size = n + m;
        if (m > n) return false;
        Array<double> kkt(size * size), rhs(size);
        for (int i = 0; i < n; ++i) {
            std::copy_n(&q[i * n], n, &kkt[i * size]);
            rhs[i] = -c[i];
        }
        for (int k = 0; k < m; ++k) {
            const int item = active[k];
            for (int j = 0; j < n; ++j) {
                const double v = item >= n ? p.a[(item - n) * n + j] : item == j ? 1.0 : 0.0;
                kkt[(n + k) * size + j] = v;
                kkt[j * size + n + k] = -v;
            }
            rhs[n + k] = choice[item] == 1 ? low[item] : high[item];
        }
        if (!solveDense(kkt, size, rhs)) return false;
        x.assign(rhs.begin(), rhs.begin() + n);
        dual = Array<double>(numItem);
        for (int k = 0; k < m; ++k) dual[active[k]] = rhs[n + k];
        return true;
    }

    [[nodiscard]] bool acceptable() const {
        constexpr double tol = 1e-8;
        Array<double> value = x;
        for (const double activity : p.activity(x)) value.push_back(activity);
        for (std::size_t k = 0; k < value.size(); ++k) {
            const double slackTol = tol * (1 + std::fabs(value[k]));
            if (value[k] < low[k] - slackTol || value[k] > high[k] + slackTol) return false;
            if (low[k] == high[k]) continue;
            if (choice[k] == 1 && dual[k] < -tol) return false;
            if (choice[k] == 2 && dual[k] > tol) return false;
        }
        return true;
    }

    /// The first choice with an acceptable minimiser: the problem is convex, so that it is optimal.
    bool enumerate(const Array<double>& c, const Array<double>& q) {
        do
            if (solve(c, q) && acceptable()) return true;
        while (next());
        return false;
    }

    const SmallProblem& p;
    Array<double> low, high, x, dual;
    Indices choice;
};

}  // namespace

SmallProblem box(std::vector<double> lower, std::vector<double> upper) {
    SmallProblem p;
    p.numCol = static_cast<int>(lower.size());
    p.c.assign(lower.size(), 1.0);
    p.q.assign(lower.size() * lower.size(), 0.0);
    p.lower = std::move(lower);
    p.upper = std::move(upper);
    return p;
}

void addRow(SmallProblem& p, char sense, double low, double high, const std::vector<double>& row) {
    ++p.numRow;
    p.rowSense += sense;
    p.rowLower.push_back(low);
    p.rowUpper.push_back(high);
    p.a.insert(p.a.end(), row.begin(), row.end());
}

double SmallProblem::objective(const std::vector<double>& x) const {
    const Array<double> slope = reducedCost(x, std::vector<double>(rowSense.size(), 0.0));
    double value = constant;
    for (int i = 0; i < numCol; ++i) value += 0.5 * (c[i] + slope[i]) * x.data()[i];
    return value;
}

Array<double> SmallProblem::activity(const std::vector<double>& x) const {
    Array<double> out(numRow);
    for (int i = 0; i < numRow; ++i)
        for (int j = 0; j < numCol; ++j) out[i] += a[i * numCol + j] * x.data()[j];
    return out;
}

Array<double> SmallProblem::reducedCost(const std::vector<double>& x,
                                        const std::vector<double>& y) const {
    Array<double> out = c;
    for (int i = 0; i < numCol; ++i) {
        for (int j = 0; j < numCol; ++j) out[i] += q[i * numCol + j] * x.data()[j];
        for (int r = 0; r < numRow; ++r) out[i] -= a[r * numCol + i] * y.data()[r];
    }
    return out;
}

Reference solveByEnumeration(const SmallProblem& problem) {
    Array<double> c = problem.c, q = problem.q;
    for (double& v : c) v *= problem.sense;
    for (double& v : q) v *= problem.sense;
    Reference out;
    Sides sides(problem);
    if (sides.enumerate(c, q)) {
        out.verdict = Verdict::optimal;
        out.x = sides.x;
        out.y.assign(sides.dual.begin() + problem.numCol, sides.dual.end());
        for (double& v : out.y) v *= problem.sense;
        out.objective = problem.objective(out.x);
        return out;
    }
    // The point nearest to the origin exists whenever any feasible point does.
    Array<double> identity(q.size());
    for (int i = 0; i < problem.numCol; ++i) identity[i * problem.numCol + i] = 1.0;
    const bool feasible = Sides(problem).enumerate(Array<double>(c.size()), identity);
    out.verdict = feasible ? Verdict::unbounded : Verdict::infeasible;
    return out;
}

namespace {

double gridValue(std::mt19937_64& random, int range) {
    return static_cast<double>(std::uniform_int_distribution<int>(-range, range)(random)) / 2.0;
}

int pick(std::mt19937_64& random, int count) {
    return std::uniform_int_distribution<int>(0, count - 1)(random);
}

/// Q = B'B (+ I when definite), so that it is positive semidefinite by construction.
void drawQ(std::mt19937_64& random, const Shape& shape, bool definite, SmallProblem& p) {
    const int n = p.numCol;
    p.q = Array<double>(n * n);
    if (!shape.quadratic) return;
    const int rank = shape.offDiagonals ? pick(random, n + 1) : 0;
    for (int r = 0; r < rank; ++r) {
        Array<double> b(n);
        for (double& v : b) v = pick(random, 2) == 0 ? 0.0 : gridValue(random, 4);
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j) p.q[i * n + j] += b[i] * b[j];
    }
    for (int i = 0; i < n; ++i)
        p.q[i * n + i] += definite ? 1.0 : static_cast<double>(pick(random, 3));
}

void drawBounds(std::mt19937_64& random, const Shape& shape, bool definite,
                const Array<double>& inside, SmallProblem& p) {
    for (const double x : inside) {
        const double low = x - 0.5 - 0.5 * pick(random, 5);
        const double high = x + 0.5 + 0.5 * pick(random, 5);
        const int kind = pick(random, 12);
        const bool free = kind == 0 && definite && shape.freeColumns;
        const bool fixed = kind == 1 && shape.fixedColumns;
        const bool lowerOnly = kind >= 2 && kind < 6, upperOnly = kind >= 6 && kind < 8;
        p.lower.push_back(free || upperOnly ? -absent : fixed ? x : low);
        p.upper.push_back(free || lowerOnly ? absent : fixed ? x : high);
    }
}

void drawRows(std::mt19937_64& random, const Shape& shape, const Array<double>& inside,
              SmallProblem& p) {
    int equations = 0;
    for (int i = 0; i < p.numRow; ++i) {
        double value = 0;
        for (const double x : inside) {
            p.a.push_back(pick(random, 4) == 0 ? 0.0 : gridValue(random, 6));
            value += p.a.back() * x;
        }
        if (!shape.feasible) value += gridValue(random, 16);
        const int kind = pick(random, shape.freeRows ? 5 : 4);
        const auto add = [&](char sense, double low, double high) {
            p.rowSense += sense;
            p.rowLower.push_back(low);
            p.rowUpper.push_back(high);
        };
        if (kind == 0 && shape.equalities && equations < p.numCol - 1) {
            ++equations;
            add('E', value, value);
        } else if (kind == 1) {
            add('R', value - 0.5, value + 0.5 * (1 + pick(random, 4)));
        } else if (kind == 2) {
            add('L', -absent, value + 0.5);
        } else if (kind == 4) {
            add('N', -absent, absent);
        } else {
            add('G', value - 0.5, absent);
        }
    }
}

}  // namespace

SmallProblem drawProblem(std::mt19937_64& random, const Shape& shape) {
    SmallProblem p;
    p.numCol = 1 + pick(random, shape.maxCol);
    p.numRow = pick(random, shape.maxRow + 1);
    p.sense = shape.maximise && pick(random, 2) == 0 ? -1 : 1;
    p.constant = gridValue(random, 10);
    const bool definite = shape.quadratic && pick(random, 2) == 0;
    Array<double> inside;
    for (int j = 0; j < p.numCol; ++j) {
        inside.push_back(gridValue(random, 10));
        p.c.push_back(gridValue(random, 10));
    }
    drawQ(random, shape, definite, p);
    for (double& v : p.q) v *= p.sense;
    drawBounds(random, shape, definite, inside, p);
    drawRows(random, shape, inside, p);
    return p;
}

double kktViolation(const SmallProblem& p, const std::vector<double>& x,
                    const std::vector<double>& y) {
    double worst = 0, dualScale = 1;
    for (const double v : p.c) dualScale = std::max(dualScale, std::fabs(v));
    const auto side = [&](double value, double low, double high, double dual) {
        const double scale = 1 + std::fabs(value);
        if (low > -absent) worst = std::max(worst, (low - value) / scale);
        if (high < absent) worst = std::max(worst, (value - high) / scale);
        // A dual is carried by the lower side when positive, by the upper one when negative.
        const double bound = dual > 0 ? low : high;
        const double distance =
            std::fabs(bound) >= absent ? 1.0 : std::min(1.0, std::fabs(value - bound) / scale);
        if (low != high) worst = std::max(worst, std::fabs(dual) * distance / dualScale);
    };
    const Array<double> activity = p.activity(x), z = p.reducedCost(x, y);
    for (int i = 0; i < p.numRow; ++i)
        side(activity[i], p.rowLower[i], p.rowUpper[i], p.sense * y.data()[i]);
    for (int j = 0; j < p.numCol; ++j) side(x.data()[j], p.lower[j], p.upper[j], p.sense * z[j]);
    return worst;
}

}  // namespace ovtest
