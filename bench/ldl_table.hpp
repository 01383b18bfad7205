// The table of bench_ldl: one line a matrix, means and worst cases at the end.
#pragma once

#include <fmt/core.h>

#include <cmath>
#include <string>

#include "bench/ldl_ours.hpp"
#include "bench/ldl_peers.hpp"

namespace bench {

/// Ratios of our time to the best peer's: their geometric mean and the worst of them.
struct Ratios {
    double sum = 0, worst = 0;
    int count = 0, aboveOne = 0, aboveHalf = 0;
    std::string worstName;

    void add(double ratio, const std::string& name) {
        if (ratio <= 0) return;
        sum += std::log(ratio);
        ++count;
        aboveOne += ratio > 1 ? 1 : 0;
        aboveHalf += ratio > 1.5 ? 1 : 0;
        if (ratio > worst) worst = ratio, worstName = name;
    }
    [[nodiscard]] double mean() const { return count > 0 ? std::exp(sum / count) : 0; }
    void print(const char* what) const {
        if (count == 0) return;
        fmt::print("  {:<34} mean {:.3f}  worst {:.2f} ({})  above 1.0: {}, above 1.5: {}, of {}\n",
                   what, mean(), worst, worstName, aboveOne, aboveHalf, count);
    }
};

/// The smallest share of the DGEMM peak, and the mean.
struct Shares {
    double sum = 0, lowest = 1e300;
    int count = 0;
    std::string lowestName;

    void add(double share, const std::string& name) {
        sum += std::log(share);
        ++count;
        if (share < lowest) lowest = share, lowestName = name;
    }
};

class LdlTable {
public:
    explicit LdlTable(double peak) : peak_(peak) {
        fmt::print("DGEMM peak {:.1f} GFLOP/s\n", peak);
        fmt::print(
            "{:<14} {:>7} {:>8} {:>9} {:>9} o | {:>8} {:>8} {:>8} {:>7} {:>7} {:>5} {:>4} | {:>8} "
            "{:>8} {:>8} {:>8} {:>7} | {:>5} {:>5} {:>5} {:>5} {:>5} {:>5} | c {:>5} {:>5} {:>4}\n",
            "matrix", "n", "nnz", "nnz(L)", "Mflop", "analyse", "first", "factor", "solve",
            "refined", "GF/s", "peak", "simpl.", "supern.", "multifr.", "analyse", "solve", "r.ana",
            "r.fac", "r.sol", "fill", "pad", "mem", "normw", "compw", "pert");
    }

    void report(const Matrix& a, const Measured& ours, const Peers& peers) {
        const PeerTimes best = bestOf(peers);
        const double speed = ours.factor > 0 ? ours.operations / ours.factor * 1e-9 : 0;
        const double analyse = ratio(ours.analyse, best.analyse);
        const double factor = ratio(ours.factor, best.factor);
        const double solve = ratio(ours.solve, best.solve);
        const double fill = ratio(ours.numEntries, best.numEntries);
        const double memory = ours.memory / (8 * ours.stored);
        count(a.name, ours, analyse, factor, solve, fill, speed, memory);
        fmt::print(
            "{:<14} {:>7} {:>8} {:>9} {:>9.2f} {} | {:>8.2f} {:>8.3f} {:>8.3f} {:>7.3f} {:>7.2f} "
            "{:>5.1f} {:>3.0f}% | {:>8.3f} {:>8.3f} {:>8.3f} {:>8.2f} {:>7.3f} | {:>5.2f} {:>5.2f} "
            "{:>5.2f} {:>5.2f} {:>5.2f} {:>5.2f} | {} {:>5.0e} {:>5.0e} {:>4}\n",
            a.name, a.n, a.row.size(), ours.numEntries, ours.operations * 1e-6, ours.method,
            1e3 * ours.analyse, 1e3 * ours.firstFactor, 1e3 * ours.factor, 1e3 * ours.solve,
            1e3 * ours.refined, speed, 100 * speed / peak_, milli(peers.simplicial.factor),
            milli(peers.supernodal.factor), milli(peers.multifrontal.factor), milli(best.analyse),
            milli(best.solve), analyse, factor, solve, fill, ours.stored / ours.numEntries, memory,
            ours.code, ours.normwise, ours.componentwise, ours.numPerturbed);
        std::fflush(stdout);
    }

    void printTotals() const {
        fmt::print(
            "matrices {}, failed {}, normwise backward error below 1e-15: {} ({:.1f} %), "
            "componentwise: {} ({:.1f} %)\n",
            matrices_, failed_, normwise_, percent(normwise_), componentwise_,
            percent(componentwise_));
        fmt::print("ratios to the best peer of each matrix:\n");
        factor_.print("factorisation");
        factorMedium_.print("  above 1e7 operations");
        factorLarge_.print("  above 1e9 operations");
        solve_.print("solve");
        analyse_.print("analysis");
        fill_.print("nnz(L) (CHOLMOD's)");
        if (peakShare_.count > 0)
            fmt::print(
                "  share of the DGEMM peak above 1e10 operations: mean {:.0f} %, least {:.0f} % "
                "({}), of {}\n",
                100 * std::exp(peakShare_.sum / peakShare_.count), 100 * peakShare_.lowest,
                peakShare_.lowestName, peakShare_.count);
        memory_.print("memory / stored L, above 1e6");
        memoryOfL_.print("memory / nnz(L), above 1e6");
        fmt::print("  allocations in the numeric stage: {}\n", allocations_);
    }

private:
    static double least(double first, double second) {
        if (first <= 0) return second;
        return second <= 0 ? first : std::min(first, second);
    }
    static PeerTimes bestOf(const Peers& p) {
        PeerTimes best;
        best.analyse =
            least(least(p.simplicial.analyse, p.supernodal.analyse), p.multifrontal.analyse);
        best.factor = least(least(p.simplicial.factor, p.supernodal.factor), p.multifrontal.factor);
        best.solve = least(least(p.simplicial.solve, p.supernodal.solve), p.multifrontal.solve);
        best.numEntries = p.supernodal.numEntries;
        return best;
    }
    static double ratio(double ours, double theirs) { return theirs > 0 ? ours / theirs : 0; }
    static double milli(double seconds) { return seconds < 0 ? -1 : 1e3 * seconds; }
    [[nodiscard]] double percent(int part) const {
        return matrices_ > 0 ? 100.0 * part / matrices_ : 0;
    }

    void count(const std::string& name, const Measured& ours, double analyse, double factor,
               double solve, double fill, double speed, double memory) {
        constexpr double mediumOperations = 1e7, largeOperations = 1e9, peakOperations = 1e10;
        constexpr double memoryEntries = 1e6;
        factor_.add(factor, name);
        if (ours.operations > mediumOperations) factorMedium_.add(factor, name);
        if (ours.operations > largeOperations) factorLarge_.add(factor, name);
        if (ours.operations > peakOperations) peakShare_.add(speed / peak_, name);
        solve_.add(solve, name);
        analyse_.add(analyse, name);
        fill_.add(fill, name);
        if (ours.numEntries > memoryEntries) {
            memory_.add(memory, name);
            memoryOfL_.add(ours.memory / (8 * ours.numEntries), name);
        }
        ++matrices_;
        failed_ += ours.code == 6 || ours.code == 7 ? 0 : 1;
        normwise_ += ours.normwise < 1e-15 ? 1 : 0;
        componentwise_ += ours.componentwise < 1e-15 ? 1 : 0;
        allocations_ += ours.numericAllocations;
    }

    double peak_;
    Ratios factor_, factorMedium_, factorLarge_, solve_, analyse_, fill_, memory_, memoryOfL_;
    Shares peakShare_;
    std::uint64_t allocations_ = 0;
    int matrices_ = 0, failed_ = 0, normwise_ = 0, componentwise_ = 0;
};

}  // namespace bench
