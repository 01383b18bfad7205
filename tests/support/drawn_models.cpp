#include "drawn_models.hpp"

#include <algorithm>
#include <cmath>

namespace ovtest {
namespace {

std::size_t at(int i) {
    return static_cast<std::size_t>(i);
}

int pick(std::mt19937_64& random, int count) {
    return std::uniform_int_distribution<int>(0, count - 1)(random);
}

double coefficient(std::mt19937_64& random) {
    static constexpr double values[] = {1, -1, 2, -2, 0.5, -0.5, 3, -1.5, 1, -1};
    return values[pick(random, 10)];
}

struct Drawing {
    std::mt19937_64& random;
    const Draw& draw;
    SmallProblem p;
    std::vector<double> inside;  // a point within the bounds, often on them
};

void drawColumn(Drawing& d) {
    const double x = pick(d.random, 9) - 4;
    const int kind = pick(d.random, 12);
    const double below = pick(d.random, 3), above = pick(d.random, 4);
    d.inside.push_back(x);
    d.p.c.push_back(0.5 * (pick(d.random, 13) - 6));
    const bool noLower = kind == 0 || kind == 1 || kind == 2;
    const bool noUpper = kind == 0 || (kind >= 3 && kind < 8);
    const bool fixed = kind == 11;
    d.p.lower.push_back(noLower ? -absent : fixed ? x : x - below);
    d.p.upper.push_back(noUpper ? absent : fixed ? x : x + above);
}

void drawQ(Drawing& d) {
    const int n = d.p.numCol;
    d.p.q.assign(at(n * n), 0.0);
    if (d.draw.quadratic) {
        for (int r = pick(d.random, 3); r > 0; --r) {
            const int i = pick(d.random, n), j = pick(d.random, n);
            const double s = coefficient(d.random), t = coefficient(d.random);
            d.p.q[at(i * n + i)] += s * s;
            d.p.q[at(j * n + j)] += t * t;
            d.p.q[at(i * n + j)] += s * t;
            d.p.q[at(j * n + i)] += s * t;
        }
        for (int j = 0; j < n; ++j)
            if (pick(d.random, 2) == 0) d.p.q[at(j * n + j)] += 1;
    }
    // A column without any bound needs curvature of its own for the enumeration.
    for (int j = 0; j < n; ++j) {
        if (d.p.lower[at(j)] > -absent || d.p.upper[at(j)] < absent) continue;
        if (d.draw.quadratic)
            d.p.q[at(j * n + j)] += 1;
        else
            d.p.lower[at(j)] = d.inside[at(j)] - 1;
    }
}

/// Activity range of the last row under the bounds, absent for infinite.
void activityRange(const Drawing& d, double& least, double& greatest) {
    const int n = d.p.numCol, row = static_cast<int>(d.p.a.size()) / n - 1;
    least = greatest = 0;
    for (int j = 0; j < n; ++j) {
        const double a = d.p.a[at(row * n + j)];
        if (a == 0) continue;
        const double low = d.p.lower[at(j)], high = d.p.upper[at(j)];
        const double toLeast = a > 0 ? low : high, toGreatest = a > 0 ? high : low;
        least = std::fabs(toLeast) >= absent || least <= -absent ? -absent : least + a * toLeast;
        greatest = std::fabs(toGreatest) >= absent || greatest >= absent
                       ? absent
                       : greatest + a * toGreatest;
    }
}

double nudge(Drawing& d) {
    if (!d.draw.ties || pick(d.random, 2) == 0) return 0;
    static constexpr double steps[] = {5e-7, 1e-6, 2e-6, 1e-8, 5e-9, 1e-10, 1.5e-6, 3e-6};
    return (pick(d.random, 2) == 0 ? 1 : -1) * steps[pick(d.random, 8)];
}

void drawElements(Drawing& d) {
    const int n = d.p.numCol;
    static constexpr int lengths[] = {0, 1, 1, 1, 2, 2, 2, 3, 3, 4};
    const int length = std::min(n, lengths[pick(d.random, 10)]);
    std::vector<double> row(at(n), 0.0);
    for (int k = 0; k < length;) {
        double& a = row[at(pick(d.random, n))];
        if (a != 0) continue;
        a = coefficient(d.random);
        ++k;
    }
    d.p.a.insert(d.p.a.end(), row.begin(), row.end());
}

void drawRow(Drawing& d) {
    const int n = d.p.numCol;
    drawElements(d);
    double value = 0, least = 0, greatest = 0;
    for (int j = 0; j < n; ++j) value += d.p.a[d.p.a.size() - at(n) + at(j)] * d.inside[at(j)];
    activityRange(d, least, greatest);
    // Limits at the point, at the end of the activity range, beyond it, or somewhere near.
    const auto limit = [&](double end, int direction) {
        switch (pick(d.random, 5)) {
            case 0:
                return std::fabs(end) < absent ? end : value;
            case 1:
                return std::fabs(end) < absent ? end + direction : value + direction * 3;
            case 2:
                return value + direction * pick(d.random, 3);
            default:
                return value;
        }
    };
    const bool missed = d.draw.infeasible && pick(d.random, 4) == 0;
    const double shift = missed ? 0.5 * (pick(d.random, 13) - 6) : 0;
    static constexpr char senses[] = {'E', 'E', 'L', 'L', 'G', 'G', 'R', 'R', 'R', 'N'};
    const char sense = senses[pick(d.random, 10)];
    double low = std::min(limit(least, -1), value) + shift + nudge(d);
    double high = std::max(std::max(limit(greatest, 1), value) + shift + nudge(d), low);
    if (sense == 'E') low = high = value + shift + nudge(d);
    d.p.rowSense += sense;
    d.p.rowLower.push_back(sense == 'L' || sense == 'N' ? -absent : low);
    d.p.rowUpper.push_back(sense == 'G' || sense == 'N' ? absent : high);
}

}  // namespace

SmallProblem drawReducible(std::mt19937_64& random, const Draw& draw) {
    Drawing d{random, draw, {}, {}};
    d.p.numCol = 1 + pick(random, draw.maxCol);
    d.p.numRow = pick(random, draw.maxRow + 1);
    d.p.constant = pick(random, 5) - 2;
    for (int j = 0; j < d.p.numCol; ++j) drawColumn(d);
    drawQ(d);
    for (int i = 0; i < d.p.numRow; ++i) drawRow(d);
    return d.p;
}

std::string describe(const SmallProblem& p) {
    std::string out = "min";
    for (double v : p.c) out += " " + std::to_string(v);
    out += "\nq";
    for (double v : p.q) out += " " + std::to_string(v);
    for (int j = 0; j < p.numCol; ++j)
        out += "\nx" + std::to_string(j) + " in " + std::to_string(p.lower[at(j)]) + " " +
               std::to_string(p.upper[at(j)]);
    for (int i = 0; i < p.numRow; ++i) {
        out += "\n" + std::string(1, p.rowSense[at(i)]) + " " + std::to_string(p.rowLower[at(i)]) +
               " " + std::to_string(p.rowUpper[at(i)]) + " :";
        for (int j = 0; j < p.numCol; ++j) out += " " + std::to_string(p.a[at(i * p.numCol + j)]);
    }
    return out;
}

}  // namespace ovtest
