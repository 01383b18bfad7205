#include "frame/operations/matrix_statistics.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "frame/pool.hpp"
#include "frame/solver_records.hpp"

namespace ovrelin {
namespace {

struct Magnitudes {
    double largest = 0.0;
    double smallest = maxDouble;
    double sum = 0.0;
    int32_t count = 0;

    void add(double value) {
        const double magnitude = std::fabs(value);
        largest = std::max(largest, magnitude);
        smallest = std::min(smallest, magnitude);
        sum += magnitude;
        ++count;
    }
    void addNonzero(double value) {
        if (value != 0.0) add(value);
    }
    void write(double& max, double& min, double& mean, int32_t divisor) const {
        max = largest;
        min = count > 0 ? smallest : 0.0;
        mean = count > 0 ? sum / divisor : 0.0;
    }
};

struct Lengths {
    int32_t longest = 0;
    int32_t shortest = std::numeric_limits<int32_t>::max();

    void add(int32_t length) {
        longest = std::max(longest, length);
        shortest = std::min(shortest, length);
    }
};

void matrixPass(const ProblemInput& problem, int32_t* rowCount, ProblemStatistics& block) {
    Magnitudes values;
    Lengths columns;
    for (int32_t j = 0; j < problem.numCol; ++j) {
        columns.add(problem.colBegin[j + 1] - problem.colBegin[j]);
        for (int32_t k = problem.colBegin[j]; k < problem.colBegin[j + 1]; ++k) {
            values.add(problem.matValue[k]);
            ++rowCount[problem.rowIndex[k]];
        }
    }
    const int32_t elements = problem.colBegin[problem.numCol];
    values.write(block.matMax, block.matMin, block.matMean, problem.numCoef);
    block.colLengthMax = columns.longest;
    block.colLengthMin = columns.shortest;
    block.colLengthMean = elements / problem.numCol;
    block.rowLengthMean = elements / problem.numRow;
}

void rowPass(const ProblemInput& problem, const int32_t* rowCount, ProblemStatistics& block) {
    Magnitudes rhs;
    Lengths rows;
    for (int32_t i = 0; i < problem.numRow; ++i) {
        rows.add(rowCount[i]);
        rhs.addNonzero(problem.rhs[i]);
    }
    block.rowLengthMax = rows.longest;
    block.rowLengthMin = rows.shortest;
    block.numRhsNonzero = rhs.count;
    rhs.write(block.rhsMax, block.rhsMin, block.rhsMean, rhs.count);
}

void objectivePass(const ProblemInput& problem, ProblemStatistics& block) {
    Magnitudes quad;
    Magnitudes obj;
    for (int32_t k = 0; k < problem.numQuadCoef; ++k) quad.add(problem.quadMatValue[k]);
    quad.sum *= 2.0;  // a stored element stands for both triangles
    const int32_t triangle = quad.count;
    for (int32_t j = 0; j < problem.numCol; ++j) {
        if (problem.quadDiag != nullptr) quad.addNonzero(problem.quadDiag[j]);
        obj.addNonzero(problem.obj[j]);
    }
    block.numDiagNonzero = quad.count - triangle;
    block.numObjNonzero = obj.count;
    quad.write(block.quadMax, block.quadMin, block.quadMean, quad.count + triangle);
    obj.write(block.objMax, block.objMin, block.objMean, obj.count);
}

}  // namespace

std::int32_t matrixStatistics(SolverInstance* instance, ProblemInput* problem) {
    ProblemStatistics block{};
    block.statNumCol = problem->numCol;
    if (problem->numCol >= 1) {
        block.statNumRow = problem->numRow;
        block.statNumCoef = problem->numCoef;
        block.statNumQuadCoef = problem->numQuadCoef;
        if (problem->numRow >= 1) {
            PoolArray<int32_t> rowCount;
            if (!isOk(rowCount.make(instance->pool, static_cast<std::size_t>(problem->numRow),
                                    Fill::zero)))
                return 1;
            if (problem->numCoef >= 1) matrixPass(*problem, rowCount.data(), block);
            rowPass(*problem, rowCount.data(), block);
        }
        objectivePass(*problem, block);
    }
    problem->statistics = block;
    return 0;
}

}  // namespace ovrelin
