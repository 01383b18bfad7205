// The table was tuned on sets of matrices; its bounds on the mean degree are data, not a formula.
#include "sparse/order/method_choice.hpp"

#include <limits>

#include "sparse/sparse_ldl.hpp"

namespace ovrelin {
namespace {

constexpr std::int32_t deg = ldl::methodMinDegree;
constexpr std::int32_t fill = ldl::methodMinFill;
constexpr std::int32_t diss = ldl::methodDissection;
constexpr double anyDegree = std::numeric_limits<double>::infinity();

// `method` applies to mean degrees strictly below the bound; the first row that fits counts.
struct Row {
    double below;
    std::int32_t method;
};

constexpr Row class0[] = {{13.4, fill}, {26.5, diss}, {29.2, fill},     {45, diss},
                          {61, fill},   {80, diss},   {118, fill},      {210, diss},
                          {330, fill},  {375, deg},   {anyDegree, diss}};

constexpr Row class1[] = {{3.593, diss}, {3.65, deg},   {3.73, diss},     {3.96, fill},
                          {4.4, diss},   {4.638, fill}, {5.84, diss},     {6, fill},
                          {6.25, diss},  {8.5, deg},    {17, diss},       {19, deg},
                          {25, diss},    {30, fill},    {anyDegree, diss}};

constexpr Row class2[] = {{3.75, diss}, {4.69, fill}, {5.6, diss},
                          {6.5, fill},  {7, deg},     {anyDegree, diss}};

constexpr Row otherClasses[] = {{5, fill},  {6.1, diss}, {7.72, fill},     {8.22, diss},
                                {12, fill}, {74, diss},  {79, fill},       {80, diss},
                                {85, fill}, {87, deg},   {anyDegree, diss}};

template <std::size_t N>
std::int32_t lookUp(const Row (&table)[N], double degree) {
    for (const Row& row : table) {
        if (degree < row.below) return row.method;
    }
    return table[N - 1].method;
}

std::int32_t automaticMethod(const OrderingQuestion& question) {
    const double degree = meanDegree(question);
    const std::int32_t n = question.numNode;
    switch (question.matrixClass) {
        case 0:
            return n < 2500 ? fill : lookUp(class0, degree);
        case 1:
            return lookUp(class1, degree);
        case 2:
            return n < 3500 ? fill : lookUp(class2, degree);
        default:
            if (question.useDensityRule) return lookUp(otherClasses, degree);
            if (n < 4100) return deg;
            return n < 11000 ? fill : diss;
    }
}

}  // namespace

double meanDegree(const OrderingQuestion& question) {
    if (question.numNode == 0) return 0.0;
    return static_cast<double>(question.numEdgeEnds) / static_cast<double>(question.numNode);
}

std::int32_t chooseOrdering(const OrderingQuestion& question) {
    if (question.numEdgeEnds == 0 || meanDegree(question) > question.numNode / 4) {
        return ldl::methodNatural;
    }
    const std::int32_t wanted = question.orderingMethod;
    if (wanted < 0) return automaticMethod(question);
    return wanted >= ldl::methodDissection ? ldl::methodDissection : wanted;
}

double chooseBalanceFactor(double degree) {
    if (degree > 1600) return 1.2;
    if (degree > 1000) return 1.25;
    if (degree > 440) return 1.3;
    if (degree > 360) return 1.35;
    return degree < 4 ? 1.45 : 1.4;
}

}  // namespace ovrelin
