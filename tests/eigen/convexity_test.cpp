// The verdict on a quadratic term, from hand-made ones to the public models.

#include "eigen/convexity.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <map>

#include "eigen/sparse_eigen.hpp"
#include "modelio/read_model.hpp"
#include "spectra.hpp"
#include "support/fake_host.hpp"
#include "support/ldl_solver.hpp"
#include "support/model_data.hpp"
#include "support/test_pool.hpp"

namespace {

using namespace ovrelin;

/// A quadratic term with the owner of its arrays, and an instance to test it with.
struct Quadratic : ovtest::ModelData {
    SolverInstance instance{};
    SolveOptions options{};

    Quadratic(ovtest::TestPool& pool, std::vector<double> diagonal, std::vector<int32_t> columns,
              std::vector<int32_t> rows, std::vector<double> values) {
        obj.resize(diagonal.size());
        quadDiag = std::move(diagonal);
        quad = {std::move(columns), std::move(rows), std::move(values)};
        bind();
        instance.pool = pool.get();
    }
    Quadratic(const Quadratic&) = delete;
    Quadratic& operator=(const Quadratic&) = delete;

    Status check() { return checkConvexity(&instance, model, options); }
};

TEST(Convexity, DiagonalTermsAreReadOff) {
    ovtest::TestPool pool;
    for (const auto& [diag, status] :
         std::vector<std::pair<std::vector<double>, Status>>{{{}, Status::ok},
                                                             {{0, 3, 1e9}, Status::ok},
                                                             {{1, -1e-4, 2}, Status::ok},
                                                             {{1, -1.1e-4, 2}, Status::notConvex},
                                                             {{-1}, Status::notConvex}}) {
        pool.failRequest(0);
        Quadratic q(pool, diag, std::vector<int32_t>(diag.size() + 1, 0), {}, {});
        EXPECT_EQ(q.check(), status);
        EXPECT_EQ(pool.numRequests(), 0);
        q.model.typeModel = modelTypeLp;
        EXPECT_EQ(q.check(), Status::ok);
    }
}

TEST(Convexity, ThresholdOfTheSmallestEigenvalue) {
    ovtest::TestPool pool;
    const auto coupled = [&](double diagonal, double off) {
        return Quadratic(pool, {diagonal, diagonal}, {0, 1, 1}, {1}, {off}).check();
    };
    EXPECT_EQ(coupled(0, 1), Status::notConvex);  // no diagonal entries at all
    EXPECT_EQ(coupled(1, 1.00005), Status::ok);
    EXPECT_EQ(coupled(1, 1.00011), Status::notConvex);
    EXPECT_EQ(coupled(0, 0), Status::ok);  // explicit zeros
}

/// Models of random terms: the merged matrix has the spectrum of the dense one, whatever the shape
/// of the triangle (gaps between its columns included).
TEST(Convexity, AgreesWithTheDenseSpectrum) {
    ovtest::TestPool pool;
    std::mt19937 random(11);
    for (int r = 0; r < 300; ++r) {
        const auto kind = static_cast<ovtest::Spectrum>(r % 12);
        if (kind == ovtest::Spectrum::wide || kind == ovtest::Spectrum::spread) continue;
        const ovtest::TestMatrix a = ovtest::drawMatrix(kind, 1 + r % 60, random);
        const double target = (r % 5 - 2.5) * 1e-4;  // -2.5e-4 .. 1.5e-4, in steps of 1e-4
        const double shift = target - ovtest::denseEigenvalues(a)[0];
        std::vector<double> diag(static_cast<std::size_t>(a.n()), shift), value{99};
        std::vector<int32_t> begin, index{-7};
        for (std::int32_t j = 0; j < a.n(); ++j) {
            begin.push_back(static_cast<int32_t>(value.size()));
            for (std::int32_t k = a.begin()[j]; k < a.begin()[j + 1]; ++k) {
                const double entry = a.value[static_cast<std::size_t>(k)];
                if (a.row()[k] == j) diag[static_cast<std::size_t>(j)] += entry;
                if (a.row()[k] > j) index.push_back(a.row()[k]), value.push_back(entry);
            }
        }
        begin.push_back(static_cast<int32_t>(value.size()));
        const bool diagonal = value.size() == 1;
        Quadratic q(pool, diag, begin, index, value);
        if (diagonal) q.model.numQuadCoef = 0;
        const Status expected = target < -1e-4 ? Status::notConvex : Status::ok;
        EigenParameters& parameters = q.options.parameters.eigen;
        EXPECT_EQ(q.check(), expected) << r;
        // A search too short to see anything leaves the verdict to the signs of a factorisation:
        // dense or sparse, quickly or carefully ordered.
        parameters.namingSearch = 1;
        EXPECT_EQ(q.check(), expected) << r;
        parameters.denseOrder = parameters.denseAlways = 0;
        EXPECT_EQ(q.check(), expected) << r;
        parameters.quickOrderOps = 0;
        EXPECT_EQ(q.check(), expected) << r;
        EXPECT_EQ(pool.numLive(), 0);
    }
}

Quadratic ring(ovtest::TestPool& pool, int32_t n) {
    std::vector<int32_t> begin{0}, index;
    std::vector<double> value;
    for (int32_t j = 0; j < n; ++j) {
        if (j + 1 < n) index.push_back(j + 1), value.push_back(-1);
        if (j == 0) index.push_back(n - 1), value.push_back(-1);
        begin.push_back(static_cast<int32_t>(index.size()));
    }
    return {pool, std::vector<double>(static_cast<std::size_t>(n), 2.0), begin, index, value};
}

TEST(Convexity, EveryRefusedAllocationIsOutOfMemory) {
    ovtest::TestPool pool;
    Quadratic q = ring(pool, 150);
    q.model.quadDiag[7] -= 1;  // not convex: no failure may come out as this verdict
    ovtest::refuseEveryRequest(
        pool, [&] { return q.check(); }, Status::notConvex, Status::outOfMemory);
    EXPECT_GT(pool.numRequests(), 6);
}

TEST(Convexity, TheStopFlagInterrupts) {
    const ovtest::FakeHost host;
    ovtest::TestPool pool;
    Quadratic q = ring(pool, 150);
    for (const bool stopped : {true, false}) {
        ovtest::FakeHost::context().stopFlag = stopped;
        EXPECT_EQ(q.check(), stopped ? Status::interrupted : Status::ok);
        EXPECT_EQ(pool.numLive(), 0);
    }
}

/// A quadratic term with both triangles, to which a test adds entries.
struct Term {
    std::vector<std::map<int32_t, double>> columns;

    explicit Term(const ov::modelio::ModelData& data) : columns(data.quadDiag.size()) {
        for (std::size_t j = 0; j < columns.size(); ++j) {
            const auto col = static_cast<int32_t>(j);
            add(col, col, data.quadDiag[j]);
            for (int32_t k = data.quadColBegin[j]; k < data.quadColBegin[j + 1]; ++k)
                add(data.quadRowIndex[static_cast<std::size_t>(k)], col,
                    data.quadMatValue[static_cast<std::size_t>(k)]);
        }
    }

    void add(int32_t row, int32_t col, double value) {
        columns[static_cast<std::size_t>(col)][row] += value;
        if (row != col) columns[static_cast<std::size_t>(row)][col] += value;
    }

    [[nodiscard]] Status check(ovtest::TestPool& pool) const {
        std::vector<int32_t> begin{0}, index;
        std::vector<double> diag, value;
        for (const auto& column : columns) {
            const auto j = static_cast<int32_t>(diag.size());
            diag.push_back(column.at(j));
            for (auto e = column.upper_bound(j); e != column.end(); ++e)
                index.push_back(e->first), value.push_back(e->second);
            begin.push_back(static_cast<int32_t>(index.size()));
        }
        return Quadratic(pool, diag, begin, index, value).check();
    }

    /// Q - shift I.
    [[nodiscard]] ovtest::TestMatrix shifted(double shift) const {
        ovtest::TestMatrix out;
        out.pattern.colBegin = {0};
        for (const auto& column : columns) {
            for (const auto& [i, value] : column) {
                out.pattern.rowIndex.push_back(i);
                out.value.push_back(i == out.pattern.n ? value - shift : value);
            }
            out.pattern.colBegin.push_back(static_cast<int32_t>(out.value.size()));
            ++out.pattern.n;
        }
        return out;
    }
};

/// Column `at` of the inverse of the matrix that `solver` has factored.
ovtest::Array<double> inverseColumn(ovtest::LdlSolver& solver, const ovtest::TestMatrix& matrix,
                                    int32_t at) {
    ovtest::Array<double> x(matrix.n());
    x[at] = 1;
    EXPECT_LE(solver.solve(matrix, x), ldl::notRefined);
    return x;
}

/// Changes one diagonal entry, or one pair of off-diagonal entries, so that the smallest eigenvalue
/// becomes `target`, which must lie below that of Q. With G = inv(Q - target I), positive definite,
/// Q - s e_i e_i' - target I becomes singular at s = 1 / G_ii, and with a pair d at (i, j) at
/// 1 / d = -G_ij +- sqrt(G_ii G_jj); the smaller |d| comes first.
Term pushed(Term term, double target, int32_t i, int32_t j) {
    const ovtest::TestMatrix matrix = term.shifted(target);
    ovtest::LdlSolver solver;
    EXPECT_EQ(solver.analyse(matrix), ldl::ok);
    EXPECT_EQ(solver.factor(matrix), ldl::ok);
    const std::vector<double> gi = inverseColumn(solver, matrix, i);
    const auto ip = static_cast<std::size_t>(i), jp = static_cast<std::size_t>(j);
    if (i == j) {
        term.add(i, i, -1 / gi[ip]);
        return term;
    }
    const double gjj = inverseColumn(solver, matrix, j)[jp], root = std::sqrt(gi[ip] * gjj);
    term.add(i, j, 1 / (gi[jp] > 0 ? -gi[jp] - root : -gi[jp] + root));
    return term;
}

TEST(ProblemsConvexity, PublicModelsAreConvexAndOneChangedEntryDecides) {
    const auto folder = std::filesystem::path(OVRELIN_PROBLEMS_DIR) / "maros";
    if (!std::filesystem::exists(folder)) GTEST_SKIP() << "no public models";
    ovtest::TestPool pool;
    std::mt19937_64 random(12);
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string file = entry.path().filename().string();
        if (file.find(".QPS") == std::string::npos) continue;
        ++count;
        const auto data = ov::modelio::readModel(entry.path().string());
        const auto n = static_cast<int32_t>(data.quadDiag.size());
        const Term term(data);
        EXPECT_EQ(term.check(pool), Status::ok) << file;
        std::uniform_int_distribution<int32_t> column(0, n - 1);
        for (const double target : {-5e-5, -2e-4, -2e-3, -2e-2, -0.2, -2., -20.}) {
            if (n > 3000 && (target == -2e-3 || target == -2e-2 || target < -1)) continue;  // time
            const int32_t i = column(random), j = (i + 1 + column(random) / 2) % n;
            const Status expected = target < -1e-4 ? Status::notConvex : Status::ok;
            EXPECT_EQ(pushed(term, target, i, i).check(pool), expected)
                << file << ' ' << target << ' ' << i;
            EXPECT_EQ(pushed(term, target, i, j).check(pool), expected)
                << file << ' ' << target << ' ' << i << ' ' << j;
        }
    }
    EXPECT_GT(count, 0);
}

}  // namespace
