#include "presolve_fixture.hpp"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>

#include "presolve/solution.hpp"
#include "support/ov_problem.hpp"

namespace ovtest {
namespace {

std::vector<std::string> faults;

void recordFault(const char* format, ...) {
    char line[400];
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    const std::string text = line;
    if (text.find("running debug code") == std::string::npos) faults.push_back(text);
}

std::size_t at(int i) {
    return static_cast<std::size_t>(i);
}

/// Enumeration wants one convention for absent bounds.
double clipped(double bound) {
    return std::clamp(bound, -absent, absent);
}

}  // namespace

void fillModel(const SmallProblem& small, std::int32_t typeModel, bool keepZeros, ModelData& out) {
    static_cast<ov::Problem&>(out) = toProblem(small, keepZeros);
    for (std::size_t i = 0; i < out.numRow(); ++i)
        if (out.rowSense[i] == OVRELIN_ROW_RANGE) out.rhs[i] = small.rowUpper[i];
    for (double& v : out.lower)
        if (v <= -absent) v = -ovrelin::maxDouble;
    for (double& v : out.upper)
        if (v >= absent) v = ovrelin::maxDouble;
    out.bind(typeModel);
}

SmallProblem toDense(const ovrelin::Model& model) {
    SmallProblem out;
    const int n = model.numCol, m = model.numRow;
    out.numCol = n;
    out.numRow = m;
    out.constant = model.objConstant;
    out.c.assign(model.obj, model.obj + n);
    out.a.assign(at(n * m), 0.0);
    out.q.assign(at(n * n), 0.0);
    for (int j = 0; j < n; ++j) {
        for (int k = model.colBegin[j]; k < model.colBegin[j] + model.colLength[j]; ++k)
            out.a[at(model.rowIndex[k] * n + j)] = model.matValue[k];
        out.lower.push_back(clipped(model.lower[j]));
        out.upper.push_back(clipped(model.upper[j]));
        if (model.typeModel != ovrelin::modelTypeQp) continue;
        out.q[at(j * n + j)] = model.quadDiag[j];
        for (int k = model.quadColBegin[j]; k < model.quadColBegin[j] + model.quadColLength[j]; ++k)
            out.q[at(model.quadRowIndex[k] * n + j)] = out.q[at(j * n + model.quadRowIndex[k])] =
                model.quadMatValue[k];
    }
    for (int i = 0; i < m; ++i) {
        const char sense = model.rowSense[i];
        const double rhs = model.rhs[i];
        out.rowSense += sense;
        out.rowLower.push_back(sense == 'L'   ? -absent
                               : sense == 'R' ? clipped(rhs - model.range[i])
                                              : clipped(rhs));
        out.rowUpper.push_back(sense == 'G' ? absent : clipped(rhs));
    }
    return out;
}

std::vector<std::string> takeFaults() {
    return std::exchange(faults, {});
}

ovrelin::SolveOptions checkedOptions() {
    ovrelin::SolveOptions options{};
    options.presolver = -1;
    options.debugLevel = 5;
    options.primalTol = options.dualTol = options.optimalityTol = 1e-6;
    options.infinity = ovrelin::infinityBound;
    options.printLevel = 2;
    options.threadCount = 1;
    return options;
}

PresolveRun::PresolveRun(const SmallProblem& small, const ovrelin::SolveOptions& solveOptions,
                         std::int32_t typeModel, bool keepZeros)
    : options(solveOptions), model(&data.model) {
    fillModel(small, typeModel, keepZeros, data);
    instance.pool = pool.get();
    instance.logSink = recordFault;
}

PresolveRun::~PresolveRun() {
    release();
}

void PresolveRun::release() {
    transform = {};
    if (workSolution != inSolution) ovrelin::freeSolution(&instance, workSolution);
    workSolution = nullptr;
    ovrelin::freeSolution(&instance, inSolution);
    ovrelin::freePresolver(presolver);
    model = &data.model;
}

ovrelin::Status PresolveRun::presolve() {
    OV_TRY(presolver.make(pool.get()));
    const ovrelin::Status status = ovrelin::presolveModel(
        &instance, model, options, *presolver, transform, inSolution, workSolution, nullptr);
    ovrelin::releasePresolverWork(*presolver);
    return status;
}

ovrelin::Status PresolveRun::makeByHand() {
    OV_TRY(presolver.make(pool.get()));
    OV_TRY(ovrelin::initPresolver(&instance, *model, options, *presolver));
    OV_TRY(ovrelin::allocSolution(&instance, inSolution, model->numRow, model->numCol,
                                  model->solPrimal, model->solDual));
    workSolution = inSolution;
    return ovrelin::Status::ok;
}

ovrelin::Status PresolveRun::collect() {
    OV_TRY(presolver.make(pool.get()));
    return ovrelin::collectStatistics(&instance, *model, options, *presolver, transform, inSolution,
                                      workSolution);
}

bool PresolveRun::solveExactly() {
    const SmallProblem dense = toDense(*model);
    const Reference reference = solveByEnumeration(dense);
    if (reference.verdict != Verdict::optimal) return false;
    const std::vector<double> z = dense.reducedCost(reference.x, reference.y);
    ovrelin::IpmSolution& solution = *workSolution;
    std::copy(reference.x.begin(), reference.x.end(), solution.solPrimal);
    std::copy(reference.y.begin(), reference.y.end(), solution.solDual);
    for (int j = 0; j < dense.numCol; ++j) {
        const std::size_t k = at(j);
        const bool hasLower = dense.lower[k] > -absent, hasUpper = dense.upper[k] < absent;
        solution.lowerSlack[j] = hasLower ? reference.x[k] - dense.lower[k] : 0;
        solution.upperSlack[j] = hasUpper ? dense.upper[k] - reference.x[k] : 0;
        solution.lowerDual[j] = hasLower ? std::max(z[k], 0.0) : 0;
        solution.upperDual[j] = hasUpper ? std::max(-z[k], 0.0) : 0;
    }
    return true;
}

ovrelin::Status PresolveRun::postsolve() {
    model->status = ovrelin::Status::optimal;
    return ovrelin::postsolve(&instance, model, options, *presolver, workSolution, inSolution,
                              &transform, nullptr);
}

}  // namespace ovtest
