#include "support/small_problem.hpp"

#include <algorithm>
#include <cmath>

namespace ovtest {
namespace {

std::size_t at(int i) { return static_cast<std::size_t>(i); }

/// Gaussian elimination with complete pivoting; false when the matrix is numerically singular.
bool solveDense(std::vector<double> matrix, int n, std::vector<double>& rhs) {
    std::vector<int> column(at(n));
    for (int j = 0; j < n; ++j) column[at(j)] = j;
    double scale = 0;
    for (double v : matrix) scale = std::max(scale, std::fabs(v));
    for (int k = 0; k < n; ++k) {
        int pr = k, pc = k;
        for (int i = k; i < n; ++i)
            for (int j = k; j < n; ++j)
                if (std::fabs(matrix[at(i * n + j)]) > std::fabs(matrix[at(pr * n + pc)]))
                    pr = i, pc = j;
        if (!(std::fabs(matrix[at(pr * n + pc)]) > 1e-10 * scale)) return false;
        for (int j = 0; j < n; ++j) std::swap(matrix[at(k * n + j)], matrix[at(pr * n + j)]);
        for (int i = 0; i < n; ++i) std::swap(matrix[at(i * n + k)], matrix[at(i * n + pc)]);
        std::swap(rhs[at(k)], rhs[at(pr)]);
        std::swap(column[at(k)], column[at(pc)]);
        for (int i = k + 1; i < n; ++i) {
            const double f = matrix[at(i * n + k)] / matrix[at(k * n + k)];
            for (int j = k; j < n; ++j) matrix[at(i * n + j)] -= f * matrix[at(k * n + j)];
            rhs[at(i)] -= f * rhs[at(k)];
        }
    }
    std::vector<double> solution(at(n));
    for (int k = n - 1; k >= 0; --k) {
        double s = rhs[at(k)];
        for (int j = k + 1; j < n; ++j) s -= matrix[at(k * n + j)] * solution[at(column[at(j)])];
        solution[at(column[at(k)])] = s / matrix[at(k * n + k)];
    }
    rhs = solution;
    return true;
}

/// One side choice per item: 0 inactive, 1 at the lower side, 2 at the upper side.
struct Choice {
    std::vector<int> side;
};

bool nextChoice(Choice& choice, const std::vector<double>& low, const std::vector<double>& high) {
    for (std::size_t k = 0; k < choice.side.size(); ++k) {
        int& side = choice.side[k];
        do ++side;
        while ((side == 1 && low[k] <= -absent) || (side == 2 && high[k] >= absent));
        if (side <= 2) return true;
        side = 0;
    }
    return false;
}

struct Candidate {
    std::vector<double> x, y, z;  // z: reduced costs
};

/// Minimiser of the objective over the chosen sides taken as equations; false when not unique.
bool solveChoice(const SmallProblem& p, const std::vector<double>& c, const std::vector<double>& q,
                 const Choice& choice, const std::vector<double>& low,
                 const std::vector<double>& high, Candidate& out) {
    const int n = p.numCol;
    std::vector<int> active;
    for (std::size_t k = 0; k < choice.side.size(); ++k)
        if (choice.side[k] != 0) active.push_back(static_cast<int>(k));
    const int m = static_cast<int>(active.size());
    if (m > n) return false;
    const int size = n + m;
    std::vector<double> kkt(at(size * size), 0.0), rhs(at(size), 0.0);
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) kkt[at(i * size + j)] = q[at(i * n + j)];
        rhs[at(i)] = -c[at(i)];
    }
    for (int k = 0; k < m; ++k) {
        const int item = active[at(k)];
        for (int j = 0; j < n; ++j) {
            const double v = item < n ? (item == j ? 1.0 : 0.0) : p.a[at((item - n) * n + j)];
            kkt[at((n + k) * size + j)] = v;
            kkt[at(j * size + n + k)] = -v;
        }
        rhs[at(n + k)] = choice.side[at(item)] == 1 ? low[at(item)] : high[at(item)];
    }
    if (!solveDense(kkt, size, rhs)) return false;
    out.x.assign(rhs.begin(), rhs.begin() + n);
    out.y.assign(at(p.numRow), 0.0);
    out.z.assign(at(n), 0.0);
    for (int k = 0; k < m; ++k) {
        const int item = active[at(k)];
        (item < n ? out.z[at(item)] : out.y[at(item - n)]) = rhs[at(n + k)];
    }
    return true;
}

bool acceptable(const SmallProblem& p, const Choice& choice, const std::vector<double>& low,
                const std::vector<double>& high, const Candidate& candidate) {
    constexpr double tol = 1e-8;
    const std::vector<double> activity = p.activity(candidate.x);
    for (std::size_t k = 0; k < choice.side.size(); ++k) {
        const bool column = k < candidate.x.size();
        const double value = column ? candidate.x[k] : activity[k - candidate.x.size()];
        const double dual = column ? candidate.z[k] : candidate.y[k - candidate.x.size()];
        const double slackTol = tol * (1 + std::fabs(value));
        if (value < low[k] - slackTol || value > high[k] + slackTol) return false;
        if (low[k] == high[k]) continue;
        if (choice.side[k] == 1 && dual < -tol) return false;
        if (choice.side[k] == 2 && dual > tol) return false;
    }
    return true;
}

bool enumerate(const SmallProblem& p, const std::vector<double>& c, const std::vector<double>& q,
               Candidate& best) {
    std::vector<double> low = p.lower, high = p.upper;
    low.insert(low.end(), p.rowLower.begin(), p.rowLower.end());
    high.insert(high.end(), p.rowUpper.begin(), p.rowUpper.end());
    Choice choice{std::vector<int>(low.size(), 0)};
    do {
        Candidate candidate;
        if (solveChoice(p, c, q, choice, low, high, candidate) &&
            acceptable(p, choice, low, high, candidate)) {
            best = candidate;
            return true;  // convex: every such point is optimal
        }
    } while (nextChoice(choice, low, high));
    return false;
}

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
    double value = constant;
    for (int i = 0; i < numCol; ++i) {
        value += c[at(i)] * x[at(i)];
        for (int j = 0; j < numCol; ++j)
            value += 0.5 * x[at(i)] * q[at(i * numCol + j)] * x[at(j)];
    }
    return value;
}

std::vector<double> SmallProblem::activity(const std::vector<double>& x) const {
    std::vector<double> out(at(numRow), 0.0);
    for (int i = 0; i < numRow; ++i)
        for (int j = 0; j < numCol; ++j) out[at(i)] += a[at(i * numCol + j)] * x[at(j)];
    return out;
}

std::vector<double> SmallProblem::reducedCost(const std::vector<double>& x,
                                              const std::vector<double>& y) const {
    std::vector<double> out = c;
    for (int i = 0; i < numCol; ++i) {
        for (int j = 0; j < numCol; ++j) out[at(i)] += q[at(i * numCol + j)] * x[at(j)];
        for (int r = 0; r < numRow; ++r) out[at(i)] -= a[at(r * numCol + i)] * y[at(r)];
    }
    return out;
}

Reference solveByEnumeration(const SmallProblem& problem) {
    std::vector<double> c = problem.c, q = problem.q;
    for (double& v : c) v *= problem.sense;
    for (double& v : q) v *= problem.sense;
    Reference out;
    Candidate found;
    if (enumerate(problem, c, q, found)) {
        out.verdict = Verdict::optimal;
        out.x = found.x;
        out.y = found.y;
        for (double& v : out.y) v *= problem.sense;
        out.objective = problem.objective(found.x);
        return out;
    }
    // The point nearest to the origin exists whenever any feasible point does.
    std::vector<double> identity(q.size(), 0.0);
    for (int i = 0; i < problem.numCol; ++i) identity[at(i * problem.numCol + i)] = 1.0;
    const bool feasible =
        enumerate(problem, std::vector<double>(c.size(), 0.0), identity, found);
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
    p.q.assign(at(n * n), 0.0);
    if (!shape.quadratic) return;
    const int rank = shape.offDiagonals ? pick(random, n + 1) : 0;
    for (int r = 0; r < rank; ++r) {
        std::vector<double> b(at(n));
        for (double& v : b) v = pick(random, 2) == 0 ? 0.0 : gridValue(random, 4);
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j) p.q[at(i * n + j)] += b[at(i)] * b[at(j)];
    }
    for (int i = 0; i < n; ++i)
        p.q[at(i * n + i)] += definite ? 1.0 : static_cast<double>(pick(random, 3));
}

void drawBounds(std::mt19937_64& random, const Shape& shape, bool definite,
                const std::vector<double>& inside, SmallProblem& p) {
    for (int j = 0; j < p.numCol; ++j) {
        const double low = inside[at(j)] - 0.5 - 0.5 * pick(random, 5);
        const double high = inside[at(j)] + 0.5 + 0.5 * pick(random, 5);
        const int kind = pick(random, 12);
        const bool free = kind == 0 && definite && shape.freeColumns;
        const bool fixed = kind == 1 && shape.fixedColumns;
        const bool lowerOnly = kind >= 2 && kind < 6, upperOnly = kind >= 6 && kind < 8;
        p.lower.push_back(free || upperOnly ? -absent : fixed ? inside[at(j)] : low);
        p.upper.push_back(free || lowerOnly ? absent : fixed ? inside[at(j)] : high);
    }
}

void drawRows(std::mt19937_64& random, const Shape& shape, const std::vector<double>& inside,
              SmallProblem& p) {
    int equations = 0;
    for (int i = 0; i < p.numRow; ++i) {
        double value = 0;
        for (int j = 0; j < p.numCol; ++j) {
            const double a = pick(random, 4) == 0 ? 0.0 : gridValue(random, 6);
            p.a.push_back(a);
            value += a * inside[at(j)];
        }
        if (!shape.feasible) value += gridValue(random, 16);
        const int kind = pick(random, shape.freeRows ? 5 : 4);
        if (kind == 0 && shape.equalities && equations < p.numCol - 1) {
            ++equations;
            p.rowSense += 'E';
            p.rowLower.push_back(value);
            p.rowUpper.push_back(value);
        } else if (kind == 1) {
            p.rowSense += 'R';
            p.rowLower.push_back(value - 0.5);
            p.rowUpper.push_back(value + 0.5 * (1 + pick(random, 4)));
        } else if (kind == 2) {
            p.rowSense += 'L';
            p.rowLower.push_back(-absent);
            p.rowUpper.push_back(value + 0.5);
        } else if (kind == 4) {
            p.rowSense += 'N';
            p.rowLower.push_back(-absent);
            p.rowUpper.push_back(absent);
        } else {
            p.rowSense += 'G';
            p.rowLower.push_back(value - 0.5);
            p.rowUpper.push_back(absent);
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
    std::vector<double> inside;
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
    double worst = 0;
    const auto side = [&](double value, double low, double high, double dual, double dualScale) {
        const double scale = 1 + std::fabs(value);
        if (low > -absent) worst = std::max(worst, (low - value) / scale);
        if (high < absent) worst = std::max(worst, (value - high) / scale);
        // A dual is carried by the lower side when positive, by the upper one when negative.
        const double bound = dual > 0 ? low : high;
        const double distance =
            std::fabs(bound) >= absent ? 1.0 : std::min(1.0, std::fabs(value - bound) / scale);
        if (low != high) worst = std::max(worst, std::fabs(dual) * distance / dualScale);
    };
    double dualScale = 1;
    for (double v : p.c) dualScale = std::max(dualScale, std::fabs(v));
    const std::vector<double> activity = p.activity(x), z = p.reducedCost(x, y);
    for (int i = 0; i < p.numRow; ++i)
        side(activity[at(i)], p.rowLower[at(i)], p.rowUpper[at(i)], p.sense * y[at(i)], dualScale);
    for (int j = 0; j < p.numCol; ++j)
        side(x[at(j)], p.lower[at(j)], p.upper[at(j)], p.sense * z[at(j)], dualScale);
    return worst;
}

}  // namespace ovtest
