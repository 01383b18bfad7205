// The orderings beside METIS and AMD: KKT matrices of the models in the given folders and generated
// grids of up to 300,000 vertices.
//
//   bench_order [--grids] [--only NAME] FOLDER...
//
// Times are CPU milliseconds of one thread, the best of several runs; ours include building the
// graph from the pattern. Entries are those of L with its diagonal, operations the sum of c (c - 1)
// over the column counts c. `nd` is dissection, `F` marks a graph that it leaves to minimum fill, a
// dash one that keeps its natural order whatever is asked for. `auto` is the method that the table
// chooses and its operations over those of the best of the three.

#include <fmt/core.h>

#include <algorithm>
#include <cmath>

#include "bench/arguments.hpp"
#include "bench/cpu_time.hpp"
#include "bench/order_fill.hpp"
#include "bench/order_peers.hpp"
#include "bench/problem_files.hpp"
#include "bench/test_matrices.hpp"
#include "frame/host_services.hpp"
#include "sparse/order/ldl_order.hpp"
#include "sparse/order/method_choice.hpp"
#include "sparse/sparse_ldl.hpp"

namespace {

using bench::IndexList;
using bench::Matrix;
using bench::OrderFill;

/// Seconds that the runs of one ordering may fill.
constexpr double timeBudget = 0.2;

struct Graph {
    IndexList begin, adjacency;
};

/// An ordering's result; seconds < 0: there is none.
struct Ordered {
    int method = -1;
    OrderFill fill;
    double seconds = -1;
};

Graph graphOf(const Matrix& a) {
    Graph graph{{0}, {}};
    for (std::size_t j = 0; j < static_cast<std::size_t>(a.n); ++j) {
        const auto first = static_cast<std::ptrdiff_t>(graph.adjacency.size());
        for (auto k = static_cast<std::size_t>(a.begin[j]);
             k < static_cast<std::size_t>(a.begin[j + 1]); ++k)
            if (a.row[k] != static_cast<std::int32_t>(j)) graph.adjacency.push_back(a.row[k]);
        std::sort(graph.adjacency.begin() + first, graph.adjacency.end());
        graph.adjacency.erase(std::unique(graph.adjacency.begin() + first, graph.adjacency.end()),
                              graph.adjacency.end());
        graph.begin.push_back(static_cast<std::int32_t>(graph.adjacency.size()));
    }
    return graph;
}

Ordered runOurs(MemoryPool* pool, const Graph& input, std::int32_t wish) {
    using namespace ovrelin;
    const auto n = static_cast<std::int32_t>(input.begin.size() - 1);
    const std::int64_t capacity =
        orderCapacity(n, static_cast<std::int64_t>(input.adjacency.size()));
    std::vector<std::int32_t> begin(input.begin.size()), order(begin.size() - 1), inverse(order);
    std::vector<std::int32_t> adjacency(static_cast<std::size_t>(capacity));
    const std::size_t bytes = std::max(nodeGraphScratchBytes(n), orderScratchBytes(n));
    std::vector<std::byte> memory(bytes);
    const Scratch scratch(memory.data(), bytes);
    Ordered out;
    int code = 0;
    const double seconds = bench::bestTime(timeBudget, [&] {
        NodeGraph graph{n, begin.data(), adjacency.data(), capacity};
        code = buildNodeGraph({n, input.begin.data(), input.adjacency.data()}, graph, scratch);
        OrderControl control;
        control.densityGain = SparseParameters{}.densityGain;
        OrderResult result{order.data(), inverse.data(), 0};
        out.method = wish;
        if (code == ldl::ok) code = ldlOrder(pool, graph, control, out.method, result, scratch);
    });
    if (code != ldl::ok) return out;
    out.seconds = seconds;
    out.fill = bench::measureOrder(input.begin, input.adjacency, order);
    return out;
}

template <class Peer>
Ordered runPeer(const Graph& graph, Peer peer) {
    Ordered out;
    IndexList order;
    const double seconds =
        bench::bestTime(timeBudget, [&] { order = peer(graph.begin, graph.adjacency); });
    if (order.size() + 1 != graph.begin.size()) return out;
    out.seconds = seconds;
    out.fill = bench::measureOrder(graph.begin, graph.adjacency, order);
    return out;
}

/// A geometric mean in the making.
struct Mean {
    double sum = 0;
    int count = 0;
    void add(double ratio) {
        if (!(ratio > 0)) return;
        sum += std::log(ratio);
        ++count;
    }
    [[nodiscard]] double value() const { return count > 0 ? std::exp(sum / count) : 0; }
};

struct Ratios {
    double entries = 0, operations = 0, seconds = 0;
};

struct Means {
    Mean entries, operations, seconds;
    void add(const Ratios& ratios) {
        entries.add(ratios.entries);
        operations.add(ratios.operations);
        seconds.add(ratios.seconds);
    }
};

/// Zeros where one of the two is missing.
Ratios ratiosOf(const Ordered& ours, const Ordered& peer) {
    if (ours.seconds <= 0 || peer.seconds <= 0) return {};
    return {ours.fill.numEntries / peer.fill.numEntries,
            peer.fill.operations > 0 ? ours.fill.operations / peer.fill.operations : 1,
            ours.seconds / peer.seconds};
}

struct Named {
    std::string name;
    double ratio;
};

struct Totals {
    Means dissection, dissectionLarge, withFallback, degree, fill;
    Mean autoOverBest;
    int natural = 0, fallback = 0;
    std::vector<Named> dissectionWorst, autoWorst;
};

constexpr std::int32_t largeGraph = 2000;

void printHead() {
    fmt::print(
        "{:<15} {:>7} {:>8} {:>6} | {:>10} {:>9} {:>8} {:>5} {:>5} {:>5}  | {:>10} {:>8} {:>5} "
        "{:>5} | {:>10} {:>8} {:>5} | {:>4} {:>6}\n",
        "matrix", "n", "edges", "degree", "nd nnz(L)", "nd ops", "nd ms", "nnz", "ops", "time",
        "md nnz(L)", "md ms", "nnz", "time", "mf nnz(L)", "mf ms", "nnz", "auto", "ops");
}

/// All orders of one matrix.
struct Row {
    std::string name;
    std::int32_t n = 0;
    std::size_t numEdges = 0;
    double meanDegree = 0;
    Ordered dissection, degree, fill, metis, amd;
    std::int32_t chosen = 0;  // by the table

    [[nodiscard]] bool isNatural() const { return chosen == ovrelin::ldl::methodNatural; }
    [[nodiscard]] bool fellBack() const { return dissection.method == ovrelin::ldl::methodMinFill; }
    [[nodiscard]] double autoOverBest() const {
        const double of[] = {degree.fill.operations, fill.fill.operations,
                             dissection.fill.operations, dissection.fill.operations};
        const double best = *std::min_element(of, of + 3);
        return best > 0 ? of[chosen] / best : 1;
    }
};

Row measure(MemoryPool* pool, const Matrix& a) {
    using namespace ovrelin;
    const Graph graph = graphOf(a);
    const auto edgeEnds = static_cast<std::int64_t>(graph.adjacency.size());
    const OrderingQuestion question{a.n, edgeEnds, 1, -1, true};
    Row row;
    row.name = a.name;
    row.n = a.n;
    row.numEdges = graph.adjacency.size() / 2;
    row.meanDegree = meanDegree(question);
    row.dissection = runOurs(pool, graph, ldl::methodDissection);
    row.degree = runOurs(pool, graph, ldl::methodMinDegree);
    row.fill = runOurs(pool, graph, ldl::methodMinFill);
    row.metis = runPeer(graph, bench::orderByMetis);
    row.amd = runPeer(graph, bench::orderByAmd);
    row.chosen = chooseOrdering(question);
    return row;
}

void account(const Row& row, Totals& totals) {
    if (row.isNatural()) {
        ++totals.natural;
        return;
    }
    const Ratios dissection = ratiosOf(row.dissection, row.metis);
    totals.withFallback.add(dissection);
    totals.degree.add(ratiosOf(row.degree, row.amd));
    totals.fill.add(ratiosOf(row.fill, row.amd));
    totals.autoOverBest.add(row.autoOverBest());
    totals.dissectionWorst.push_back({row.name, dissection.operations});
    totals.autoWorst.push_back({row.name, row.autoOverBest()});
    if (row.fellBack())
        ++totals.fallback;
    else
        totals.dissection.add(dissection);
    if (row.n >= largeGraph) totals.dissectionLarge.add(dissection);
}

void printRow(const Row& row) {
    constexpr const char* names[] = {"md", "mf", "nd", "-"};
    const Ratios dissection = ratiosOf(row.dissection, row.metis);
    const Ratios degree = ratiosOf(row.degree, row.amd);
    const char mark = row.isNatural() ? '-' : (row.fellBack() ? 'F' : ' ');
    fmt::print(
        "{:<15} {:>7} {:>8} {:>6.2f} | {:>10} {:>9.2e} {:>8.2f} {:>5.2f} {:>5.2f} {:>5.2f} {} | ",
        row.name, row.n, row.numEdges, row.meanDegree, row.dissection.fill.numEntries,
        row.dissection.fill.operations, 1e3 * row.dissection.seconds, dissection.entries,
        dissection.operations, dissection.seconds, mark);
    fmt::print("{:>10} {:>8.2f} {:>5.2f} {:>5.2f} | {:>10} {:>8.2f} {:>5.2f} | {:>4} {:>6.2f}\n",
               row.degree.fill.numEntries, 1e3 * row.degree.seconds, degree.entries, degree.seconds,
               row.fill.fill.numEntries, 1e3 * row.fill.seconds,
               ratiosOf(row.fill, row.amd).entries, names[row.chosen], row.autoOverBest());
    std::fflush(stdout);
}

void report(MemoryPool* pool, const Matrix& a, Totals& totals) {
    const Row row = measure(pool, a);
    account(row, totals);
    printRow(row);
}

void printWorst(const char* what, std::vector<Named>& list, double bound) {
    std::sort(list.begin(), list.end(),
              [](const Named& a, const Named& b) { return a.ratio > b.ratio; });
    fmt::print("{}:", what);
    for (const Named& entry : list)
        if (entry.ratio > bound) fmt::print(" {} {:.2f}", entry.name, entry.ratio);
    fmt::print("\n");
}

void printMeans(const char* what, const Means& means) {
    fmt::print("{:<52} {:>4} matrices: nnz(L) {:.3f}, operations {:.3f}, time {:.2f}\n", what,
               means.entries.count, means.entries.value(), means.operations.value(),
               means.seconds.value());
}

void printTotals(Totals& totals) {
    fmt::print("geometric means; {} matrices keep their natural order and are left out\n",
               totals.natural);
    printMeans("dissection over METIS", totals.dissection);
    printMeans(fmt::format("  with the {} left to minimum fill", totals.fallback).c_str(),
               totals.withFallback);
    printMeans(fmt::format("  of those, from {} vertices on", largeGraph).c_str(),
               totals.dissectionLarge);
    printMeans("minimum degree over AMD", totals.degree);
    printMeans("minimum fill over AMD", totals.fill);
    fmt::print("automatic choice over the best of the three: operations {:.3f}\n",
               totals.autoOverBest.value());
    printWorst("operations of dissection over METIS above 1.3", totals.dissectionWorst, 1.3);
    printWorst("operations of the automatic choice above 1.25 of the best", totals.autoWorst, 1.25);
}

}  // namespace

int main(int argc, char** argv) {
    bench::ModelArguments arguments;
    bool grids = false;
    CLI::App app("The orderings beside public ones", "bench_order");
    bench::addFolders(app, arguments);
    app.add_flag("--grids", grids, "also graphs of grids");
    if (const int status = bench::readArguments(app, argc, argv); status != 0) return status - 1;
    ov::HostOptions hostOptions;
    hostOptions.out = nullptr;
    ov::Host host(hostOptions);
    ovrelin::hostServices = host.services();
    HostDescriptor descriptor{};
    MemoryPool* pool = host.services()->createPool(host.services(), &descriptor, nullptr, "BENCH");
    printHead();
    Totals totals;
    bench::visitModels(arguments, [&](const bench::ProblemFile& file) {
        report(pool, bench::kktMatrix(file.name, ov::modelio::readModel(file.path)), totals);
    });
    constexpr std::size_t shapes[][3] = {
        {30, 30, 1},  {100, 100, 1}, {200, 200, 1}, {548, 548, 1}, {1500, 200, 1}, {10, 10, 10},
        {20, 20, 20}, {32, 32, 32},  {45, 45, 45},  {67, 67, 67},  {200, 200, 5},  {20, 100, 100}};
    if (grids)
        for (const auto& [width, height, depth] : shapes) {
            const Matrix matrix = bench::gridMatrix(width, height, depth);
            if (arguments.wants(matrix.name)) report(pool, matrix, totals);
        }
    printTotals(totals);
    pool->destroyPool(pool);
    return 0;
}
