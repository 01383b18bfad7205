// With at most 512 vertices the elimination graph itself is small: one row of bits a vertex. An
// elimination is a union of rows and a degree is a count of bits, so that degrees are exact and
// nothing has to be approximated.
#include "sparse/order/dissection/nd_leaf.hpp"

#include <algorithm>
#include <bit>

#include "frame/parameters/dissection_parameters.hpp"

namespace ovrelin {
namespace {

constexpr int numWords = 8;
constexpr int numBits = 64 * numWords;
constexpr int maxVertices = ndParameters.leafBelow;
static_assert(maxVertices <= numBits);
// Heavier vertices, and higher degrees, are as bad as these.
constexpr int maxPlanes = 6;
constexpr int maxDegree = 2 * numBits;

struct Bits {
    std::uint64_t word[numWords];

    [[nodiscard]] bool has(int i) const { return (word[i / 64] >> (i % 64) & 1) != 0; }
    void add(int i) { word[i / 64] |= std::uint64_t{1} << (i % 64); }
    void remove(int i) { word[i / 64] &= ~(std::uint64_t{1} << (i % 64)); }
    [[nodiscard]] bool any() const {
        std::uint64_t all = 0;
        for (const std::uint64_t x : word) all |= x;
        return all != 0;
    }
    Bits& operator|=(const Bits& b) {
        for (int k = 0; k < numWords; ++k) word[k] |= b.word[k];
        return *this;
    }
    [[nodiscard]] Bits without(const Bits& b) const {
        Bits r = *this;
        for (int k = 0; k < numWords; ++k) r.word[k] &= ~b.word[k];
        return r;
    }
    [[nodiscard]] Bits operator&(const Bits& b) const {
        Bits r = *this;
        for (int k = 0; k < numWords; ++k) r.word[k] &= b.word[k];
        return r;
    }
    bool operator==(const Bits&) const = default;
};

// Sums of two bits, four bits and so on, side by side in each word.
int countBits(const Bits& b) {
    constexpr std::uint64_t pairs = 0x5555555555555555;
    constexpr std::uint64_t fours = 0x3333333333333333;
    constexpr std::uint64_t bytes = 0x0f0f0f0f0f0f0f0f;
    int sum = 0;
    for (std::uint64_t x : b.word) {
        x -= x >> 1 & pairs;
        x = (x & fours) + (x >> 2 & fours);
        sum += static_cast<int>(((x + (x >> 4)) & bytes) * 0x0101010101010101 >> 56);
    }
    return sum;
}

template <class Visit>
void forEach(const Bits& b, Visit visit) {
    for (int k = 0; k < numWords; ++k) {
        for (std::uint64_t x = b.word[k]; x != 0; x &= x - 1) visit(64 * k + std::countr_zero(x));
    }
}

class LeafElimination {
public:
    LeafElimination(const NdWork& work, const NdLeaf& leaf, std::int32_t* elimination)
        : elimination_(elimination) {
        readRows(work, leaf);
        for (int degree = 0; degree <= mostDegree_; ++degree) ofDegree_[degree] = Bits{};
        const std::int8_t* const waits = work.view.waits;
        forEach(representatives_, [&](int i) {
            if (waits != nullptr && waits[leaf.vertex(i)] != 0)
                enlist(i, mostDegree_);
            else
                enlist(i, degreeOf(i));
        });
    }

    void run() {
        while (representatives_.any()) round();
    }

private:
    // A vertex outside the leaf, to be eliminated later, gets a bit but no row; the last of very
    // many such neighbours are passed over.
    void readRows(const NdWork& work, const NdLeaf& leaf) {
        const NdGraphView& view = work.view;
        std::int32_t halo[numBits];
        for (int i = 0; i < leaf.count; ++i) work.place[leaf.vertex(i)] = i;
        for (int i = 0; i < leaf.count; ++i) {
            const std::int32_t v = leaf.vertex(i);
            row_[i] = Bits{};
            group_[i] = Bits{};
            group_[i].add(i);
            representatives_.add(i);
            enterWeight(i, view.weight(v));
            for (std::int32_t e = view.vertexBegin[v]; e < view.vertexBegin[v + 1]; ++e) {
                const std::int32_t u = view.adjacency[e];
                if (work.place[u] < 0) {
                    if (leaf.count + numHalo_ == numBits) continue;
                    work.place[u] = leaf.count + numHalo_;
                    enterWeight(work.place[u], view.weight(u));
                    halo[numHalo_++] = u;
                }
                row_[i].add(work.place[u]);
            }
        }
        for (int i = 0; i < leaf.count; ++i) work.place[leaf.vertex(i)] = -1;
        for (int i = 0; i < numHalo_; ++i) work.place[halo[i]] = -1;
    }

    // Plane p holds the vertices whose weight has bit p. What is beyond the planes counts no more.
    void enterWeight(int i, std::int32_t weight) {
        const int w = std::min(weight, (1 << maxPlanes) - 1);
        mostDegree_ = std::min(mostDegree_ + w, maxDegree);
        for (int p = 0; p < maxPlanes; ++p) {
            if ((w >> p & 1) == 0) continue;
            for (; numPlanes_ <= p; ++numPlanes_) plane_[numPlanes_] = Bits{};
            plane_[p].add(i);
        }
    }

    [[nodiscard]] int weight(const Bits& b) const {
        int sum = countBits(b & plane_[0]);
        for (int p = 1; p < numPlanes_; ++p) sum += countBits(b & plane_[p]) << p;
        return sum;
    }

    [[nodiscard]] int degreeOf(int i) const {
        return std::min(weight(row_[i].without(group_[i])), maxDegree);
    }

    void enlist(int i, int degree) {
        degree_[i] = degree;
        ofDegree_[degree].add(i);
        lowest_ = degree < lowest_ ? degree : lowest_;
    }

    // Vertices next to an eliminated one wait for the next round.
    void round() {
        while (!ofDegree_[lowest_].any()) ++lowest_;
        Bits touched{};
        const Bits candidates = ofDegree_[lowest_];
        forEach(candidates, [&](int i) {
            if (touched.has(i)) return;
            ofDegree_[degree_[i]].remove(i);
            touched |= eliminate(i);
        });
        touched = touched & representatives_;
        mergeIdentical(touched);
        forEach(touched & representatives_, [this](int i) { enlist(i, degreeOf(i)); });
    }

    // Returns the neighbours, which are out of the degree lists afterwards; those that the
    // elimination leaves without neighbours of their own are eliminated along.
    Bits eliminate(int pivot) {
        const Bits reach = row_[pivot].without(group_[pivot]);
        Bits gone = group_[pivot];
        number(pivot);
        const Bits around = reach & representatives_;
        forEach(around, [&](int i) {
            ofDegree_[degree_[i]].remove(i);
            row_[i] |= reach;
            row_[i].remove(i);
            const Bits outside = row_[i].without(reach).without(gone);
            if (!outside.any()) {
                gone |= group_[i];
                number(i);
            }
        });
        forEach(around & representatives_, [&](int i) { row_[i] = row_[i].without(gone); });
        return reach;
    }

    void number(int i) {
        representatives_.remove(i);
        forEach(group_[i], [this](int k) { elimination_[numEliminated_++] = k; });
    }

    [[nodiscard]] Bits closedRow(int i) const {
        Bits closed = row_[i];
        closed |= group_[i];
        return closed;
    }

    // Vertices with the same neighbours, themselves included, stay together from here on.
    void mergeIdentical(const Bits& touched) {
        forEach(touched, [&](int i) {
            if (!representatives_.has(i)) return;
            const Bits closed = closedRow(i);
            const Bits others = closed & touched & representatives_;
            forEach(others, [&](int j) {
                if (j <= i || !(closed == closedRow(j))) return;
                group_[i] |= group_[j];
                representatives_.remove(j);
            });
        });
    }

    std::int32_t* elimination_;
    int numEliminated_ = 0;
    int lowest_ = maxDegree;
    int numHalo_ = 0;
    int mostDegree_ = 0;
    int numPlanes_ = 0;
    Bits representatives_{};
    Bits plane_[maxPlanes];
    Bits row_[maxVertices];
    Bits group_[maxVertices];
    Bits ofDegree_[maxDegree + 1];
    int degree_[maxVertices];
};

}  // namespace

void ndLeafOrder(const NdWork& work, const NdLeaf& leaf, std::int32_t* elimination) {
    LeafElimination(work, leaf, elimination).run();
}

}  // namespace ovrelin
