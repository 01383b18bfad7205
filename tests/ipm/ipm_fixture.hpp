// A small working model (rows 'E' and 'G' only) bound to an Ipm record, with a random interior
// point.
#pragma once

#include <random>

#include "frame/host_services.hpp"
#include "ipm/kkt.hpp"
#include "support/quiet_host.hpp"
#include "support/small_ipm.hpp"

namespace ovtest {

inline ovrelin::SolveOptions workingOptions() {
    ovrelin::SolveOptions options{};
    options.infinity = ovrelin::infinityBound;
    options.primalTol = options.dualTol = options.optimalityTol = 1e-8;
    options.iterationLimit = 200;
    options.threadCount = 1;
    return options;
}

/// A random problem whose rows are 'E' and 'G' only.
inline SmallProblem drawWorkingProblem(std::uint64_t seed) {
    std::mt19937_64 random(seed);
    SmallProblem p = drawProblem(random, {.maxRow = 5, .maxCol = 6, .maximise = false});
    for (std::size_t i = 0; i < p.rowSense.size(); ++i) {
        if (p.rowSense[i] == 'E') continue;
        if (p.rowSense[i] == 'L') p.rowLower[i] = p.rowUpper[i] - 3;
        p.rowSense[i] = 'G';
        p.rowUpper[i] = absent;
    }
    return p;
}

struct WorkingIpm : SmallIpm {
    explicit WorkingIpm(std::uint64_t seed)
        : SmallIpm(drawWorkingProblem(seed), workingOptions()), random(seed) {
        ovrelin::hostServices = host.services();
        ipmClassify(*ipm);
        EXPECT_TRUE(ovrelin::isOk(ipmBuildKkt(*ipm, true)));
        drawPoint();
    }
    ~WorkingIpm() { ipm.reset(); }  // while its host lives

    void drawPoint() {
        std::uniform_real_distribution<double> any(-2, 2), positive(0.1, 3);
        for (double& v : data.solPrimal) v = any(random);
        for (std::int32_t i = 0; i < ipm->numRow; ++i) {
            const bool inequality = ipm->rowSense[i] == 'G';
            ipm->solDual[i] = inequality ? positive(random) : any(random);
            ipm->ineqnSlack[i] = inequality ? positive(random) : 0;
        }
        ipmCleanIterate(*ipm);
        forEachBoundPair(*ipm, [&](const ovrelin::BoundPairs& pairs, std::int32_t j) {
            pairs.slack[j] = positive(random);
            pairs.dual[j] = positive(random);
        });
    }

    ov::Host host{quietHost()};
    std::mt19937_64 random;
};

}  // namespace ovtest
