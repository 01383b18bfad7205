// A small working model (rows 'E' and 'G' only) bound to an Ipm record, with a random interior point.
#pragma once

#include <algorithm>
#include <random>
#include <vector>

#include "frame/host_services.hpp"
#include "host/ov.hpp"
#include "ipm/ipm_state.hpp"
#include "ipm/kkt.hpp"
#include "support/ov_problem.hpp"

namespace ovtest {

class SmallIpm {
public:
    SmallIpm(ov::Host& host, const SmallProblem& problem, std::uint64_t seed)
        : small_(problem), data_(toProblem(problem)) {
        ovrelin::hostServices = host.services();
        HostDescriptor descriptor{};
        instance_.pool = host.services()->createPool(host.services(), &descriptor, nullptr, "TEST");
        ovrelin::Status status = ovrelin::Status::ok;
        timer_ = ovrelin::createSolverTimer(&instance_, instance_.pool, &status);
        bindArrays();
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
    void bindArrays() {
        const std::size_t n = data_.numCol(), m = data_.numRow();
        colLength_.resize(n);
        quadColLength_.resize(n);
        for (std::size_t j = 0; j < n; ++j) {
            colLength_[j] = data_.matrix.begin[j + 1] - data_.matrix.begin[j];
            quadColLength_[j] = data_.quad.begin[j + 1] - data_.quad.begin[j];
        }
        x_.resize(n);
        y_.resize(m);
        model_.typeModel = ovrelin::modelTypeQp;
        model_.numRow = static_cast<std::int32_t>(m);
        model_.numCol = static_cast<std::int32_t>(n);
        model_.numCoef = static_cast<std::int32_t>(data_.matrix.value.size());
        model_.numQuadCoef = static_cast<std::int32_t>(data_.quad.value.size());
        model_.colBegin = data_.matrix.begin.data();
        model_.colLength = colLength_.data();
        model_.rowIndex = data_.matrix.index.data();
        model_.matValue = data_.matrix.value.data();
        model_.quadDiag = data_.quadDiag.data();
        model_.quadColBegin = data_.quad.begin.data();
        model_.quadColLength = quadColLength_.data();
        model_.quadRowIndex = data_.quad.index.data();
        model_.quadMatValue = data_.quad.value.data();
        model_.obj = data_.obj.data();
        model_.rhs = data_.rhs.data();
        model_.lower = data_.lower.data();
        model_.upper = data_.upper.data();
        model_.rowSense = data_.rowSense.data();
        model_.solPrimal = x_.data();
        model_.solDual = y_.data();
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
        solution_.solPrimal = x_.data();
        solution_.solDual = y_.data();
        for (auto* array : {&solution_.lowerSlack, &solution_.upperSlack, &solution_.lowerDual,
                            &solution_.upperDual})
            if (!isOk(array->make(pool, n, Fill::zero))) return false;
        if (!isOk(solution_.ineqnSlack.make(pool, m, Fill::zero))) return false;
        if (!isOk(ipmCreate(ipm_, &instance_, &model_, timer_, ovrelin::iterStart))) return false;
        ipmBindOptions(*ipm_, &options_);
        ipmSetConstants(*ipm_, options_, transform_);
        if (!isOk(ipmAllocEnv(*ipm_))) return false;
        ipmBindModel(*ipm_, &model_, &solution_);
        ipmClassify(*ipm_);
        return isOk(ipmBuildKkt(*ipm_, true));
    }

    void drawPoint(std::uint64_t seed) {
        std::mt19937_64 random(seed);
        std::uniform_real_distribution<double> any(-2, 2), positive(0.1, 3);
        for (double& v : x_) v = any(random);
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
    ov::Problem data_;
    std::vector<std::int32_t> colLength_, quadColLength_;
    std::vector<double> x_, y_;
    SolverInstance instance_{};
    ovrelin::SolverTimer* timer_ = nullptr;
    ovrelin::Model model_{};
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
