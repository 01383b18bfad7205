// A small working model (rows 'E' and 'G' only) bound to an Ipm record, with a random interior
// point.
#pragma once

#include <algorithm>
#include <random>
#include <vector>

#include "frame/host_services.hpp"
#include "host/ov.hpp"
#include "ipm/ipm_state.hpp"
#include "ipm/kkt.hpp"
#include "support/model_data.hpp"
#include "support/ov_problem.hpp"

namespace ovtest {

class SmallIpm {
public:
    SmallIpm(ov::Host& host, const SmallProblem& problem, std::uint64_t seed) : small_(problem) {
        static_cast<ov::Problem&>(data_) = toProblem(problem);
        data_.bind();
        ovrelin::hostServices = host.services();
        HostDescriptor descriptor{};
        instance_.pool = host.services()->createPool(host.services(), &descriptor, nullptr, "TEST");
        ovrelin::Status status = ovrelin::Status::ok;
        timer_ = ovrelin::createSolverTimer(&instance_, instance_.pool, &status);
        setOptions();
        ok_ = ovrelin::isOk(status) && prepare();
        if (ok_) drawPoint(seed);
    }
    ~SmallIpm() {
        ipm_.reset();
        solution_ = {};
        ovrelin::destroySolverTimer(instance_.pool, &timer_);
        instance_.pool->destroyPool(instance_.pool);
    }
    SmallIpm(const SmallIpm&) = delete;
    SmallIpm& operator=(const SmallIpm&) = delete;

    [[nodiscard]] bool ok() const { return ok_; }
    ovrelin::Ipm& ipm() { return *ipm_; }
    ovrelin::SolveOptions& options() { return options_; }
    [[nodiscard]] const SmallProblem& small() const { return small_; }

private:
    void setOptions() {
        options_.infinity = ovrelin::infinityBound;
        options_.primalTol = options_.dualTol = options_.optimalityTol = 1e-8;
        options_.iterationLimit = 200;
        options_.threadCount = 1;
    }

    bool prepare() {
        using ovrelin::Fill;
        using ovrelin::isOk;
        MemoryPool* pool = instance_.pool;
        const std::size_t n = data_.numCol(), m = data_.numRow();
        solution_.solPrimal = data_.solPrimal.data();
        solution_.solDual = data_.solDual.data();
        for (auto* array : {&solution_.lowerSlack, &solution_.upperSlack, &solution_.lowerDual,
                            &solution_.upperDual})
            if (!isOk(array->make(pool, n, Fill::zero))) return false;
        if (!isOk(solution_.ineqnSlack.make(pool, m, Fill::zero))) return false;
        if (!isOk(ipmCreate(ipm_, &instance_, &data_.model, timer_, ovrelin::iterStart)))
            return false;
        ipmBindOptions(*ipm_, &options_);
        ipmSetConstants(*ipm_, options_, transform_);
        if (!isOk(ipmAllocEnv(*ipm_))) return false;
        ipmBindModel(*ipm_, &data_.model, &solution_);
        ipmClassify(*ipm_);
        return isOk(ipmBuildKkt(*ipm_, true));
    }

    void drawPoint(std::uint64_t seed) {
        std::mt19937_64 random(seed);
        std::uniform_real_distribution<double> any(-2, 2), positive(0.1, 3);
        for (double& v : data_.solPrimal) v = any(random);
        ovrelin::Ipm& ipm = *ipm_;
        for (std::int32_t i = 0; i < ipm.numRow; ++i) {
            const bool inequality = ipm.rowSense[i] == 'G';
            ipm.solDual[i] = inequality ? positive(random) : any(random);
            ipm.ineqnSlack[i] = inequality ? positive(random) : 0;
        }
        ipmCleanIterate(ipm);
        forEachBoundPair(ipm, [&](const ovrelin::BoundPairs& pairs, std::int32_t j) {
            pairs.slack[j] = positive(random);
            pairs.dual[j] = positive(random);
        });
    }

    SmallProblem small_;
    ModelData data_;
    SolverInstance instance_{};
    ovrelin::SolverTimer* timer_ = nullptr;
    ovrelin::SolveOptions options_{};
    ovrelin::TransformRecord transform_{};
    ovrelin::IpmSolution solution_{};
    ovrelin::PoolObject<ovrelin::Ipm> ipm_;
    bool ok_ = false;
};

/// A random problem whose rows are 'E' and 'G' only.
inline SmallProblem drawWorkingProblem(std::uint64_t seed) {
    std::mt19937_64 random(seed);
    Shape shape;
    shape.maximise = false;
    shape.maxCol = 6;
    shape.maxRow = 5;
    SmallProblem p = drawProblem(random, shape);
    for (std::size_t i = 0; i < p.rowSense.size(); ++i) {
        if (p.rowSense[i] == 'E') continue;
        if (p.rowSense[i] == 'L') p.rowLower[i] = p.rowUpper[i] - 3;
        p.rowSense[i] = 'G';
        p.rowUpper[i] = absent;
    }
    return p;
}

}  // namespace ovtest
