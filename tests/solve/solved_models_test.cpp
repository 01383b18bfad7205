// Whole solves of small random models against enumeration of active sets, with the reductions on,
// with them off, and with a second presolve in mid-solve, self-checks on: same verdict, same
// objective, an optimal point of the caller's model every time.

#include <gtest/gtest.h>

#include <cmath>

#include "support/drawn_models.hpp"
#include "support/ov_problem.hpp"
#include "support/quiet_host.hpp"
#include "support/tuned_module.hpp"

namespace {

using ovtest::Draw;
using ovtest::SmallProblem;
using ovtest::Verdict;

struct Kind {
    const char* name;
    std::function<SmallProblem(std::mt19937_64&)> draw;
    double tolerance;  // of the objective
    int count;
    bool reducible = false, ties = false;
    friend void PrintTo(const Kind& kind, std::ostream* out) { *out << kind.name; }
};

class SolvedModels : public testing::TestWithParam<Kind> {
protected:
    std::vector<std::string> faults;
    ov::Host host{listeningHost()};
    ov::Solver solver{host, ovextent, ovtest::tunedEntry};
    int solved = 0, missed = 0;  // solves and models
    bool missedNow = false;

    void SetUp() override {
        ovtest::tunedParameters() = {};
        ovtest::tunedParameters().debugLevel = 5;
        solver.options().optimalityTol = solver.options().primalTol = solver.options().dualTol =
            GetParam().ties ? 1e-6 : 1e-9;
    }
    void TearDown() override { ovtest::tunedParameters() = {}; }

    ov::HostOptions listeningHost() {
        ov::HostOptions options = ovtest::quietHost();
        options.output = [this](const ov::Line& line) {
            if (line.text.find("Error Verify") != line.text.npos) faults.emplace_back(line.text);
        };
        return options;
    }

    // The iteration has no safeguard against a start that it diverges from, and limits that meet in
    // a single point only within the presolver's tolerance may be out of its reach: about one
    // reducible model in a thousand is called infeasible or failed. It must not become more.
    void expectOptimal(const SmallProblem& small, const ovtest::Reference& reference,
                       const ov::Result& result) {
        if (!result.isSolved()) {
            missedNow = true;
            return;
        }
        ++solved;
        EXPECT_NEAR(result.objective, reference.objective,
                    GetParam().tolerance * (1 + std::fabs(reference.objective)));
        EXPECT_LT(ovtest::kktViolation(small, result.x, result.dual),
                  std::max(GetParam().tolerance, 1e-4));
        const std::vector<double> activity = small.activity(result.x);
        for (std::size_t i = 0; i < activity.size(); ++i)
            EXPECT_NEAR(result.activity[i], activity[i], 1e-9 * (1 + std::fabs(activity[i])));
    }

    // Limits that miss each other by less than a tolerance may be called solved.
    void expectNoOptimum(const ovtest::Reference& reference, const ov::Result& result) {
        if (GetParam().ties) return;
        EXPECT_FALSE(result.isSolved()) << "return value " << result.returnValue;
        if (!GetParam().reducible || result.iterations > 0 ||
            ovtest::tunedParameters().ipm.newPassAt == 0)
            return;
        // A column without an end may be found before the rows are seen to contradict.
        if (reference.verdict == Verdict::unbounded)
            EXPECT_EQ(result.returnValue, OVRELIN_DUAL_INFEASIBLE);
        else
            EXPECT_TRUE(result.returnValue == OVRELIN_PRIMAL_INFEASIBLE ||
                        result.returnValue == OVRELIN_DUAL_INFEASIBLE ||
                        result.returnValue == OVRELIN_INFEASIBLE_OR_UNBOUNDED)
                << result.returnValue;
    }

    void check(const SmallProblem& small, bool reductions, std::int32_t newPassAt,
               std::int32_t maxPass) {
        SCOPED_TRACE(testing::Message() << "reductions " << reductions << ", passes " << maxPass
                                        << ", again at " << newPassAt);
        ovtest::tunedParameters().presolve.reductions = reductions;
        ovtest::tunedParameters().presolve.maxPass = maxPass;
        ovtest::tunedParameters().ipm.newPassAt = newPassAt;
        const ovtest::Reference reference = ovtest::solveByEnumeration(small);
        const ov::Result result = solver.solve(ovtest::toProblem(small));
        if (reference.verdict == Verdict::optimal)
            expectOptimal(small, reference, result);
        else
            expectNoOptimum(reference, result);
        for (const std::string& fault : faults) ADD_FAILURE() << fault;
        faults.clear();
    }
};

TEST_P(SolvedModels, AgreeWithEnumeration) {
    const int count = GetParam().count;
    ovtest::forDrawn(count, GetParam().draw, [&](const SmallProblem& small, int seed) {
        check(small, true, -1, 100);
        check(small, false, -1, 100);
        check(small, seed % 2 == 0, seed % 7, 1 + seed % 5);
        missed += missedNow ? 1 : 0;
        missedNow = false;
    });
    const ovtest::Seeds seeds = ovtest::seeds(count);
    EXPECT_LE(missed, !seeds.replayed() && GetParam().reducible ? seeds.last / 500 : 0);
    if (!seeds.replayed()) {
        EXPECT_GT(solved, seeds.last);
    }
}

Kind reducible(const char* name, const Draw& draw, double tolerance) {
    const auto make = [draw](std::mt19937_64& random) { return drawReducible(random, draw); };
    return {name, make, tolerance, 1500, true, draw.ties};
}

Kind general(const char* name, const ovtest::Shape& shape, int count) {
    return {name, [shape](auto& random) { return drawProblem(random, shape); }, 1e-6, count};
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, SolvedModels,
    testing::Values(reducible("ReducibleQuadratic", ovtest::quadraticDraw, 1e-4),
                    reducible("ReducibleLinear", ovtest::linearDraw, 1e-4),
                    reducible("Ties", ovtest::tiesDraw, 1e-3),
                    reducible("Infeasible", ovtest::infeasibleDraw, 1e-4),
                    reducible("LinearInfeasible", ovtest::linearInfeasibleDraw, 1e-4),
                    general("Quadratic", {}, 300),
                    general("DiagonalQ", {.offDiagonals = false}, 150),
                    general("Linear", {.quadratic = false, .freeColumns = false}, 200),
                    general("WithFreeRows", {.freeRows = true, .equalities = false}, 150)),
    [](const auto& drawn) { return std::string(drawn.param.name); });

}  // namespace
