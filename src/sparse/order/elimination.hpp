// The elimination on a quotient graph: private to the minimum-degree routes.
//
// The graph holds variables, still to be eliminated, and elements, the cliques that eliminated
// pivots left. adj keeps, for a variable, its elements first and then its variables; for an
// element, its variables. Eliminating a pivot unites its elements and neighbours into one new
// element, which absorbs them, so the lists never need more room than at the start plus one
// element.
#pragma once

#include <cstdint>
#include <limits>

#include "sparse/order/minimum_degree.hpp"
#include "sparse/order/score_lists.hpp"

namespace ovrelin {

class Elimination {
public:
    Elimination(const NodeGraph& graph, const MinimumDegreeOptions& options, Scratch& scratch);

    /// Scratch bytes that the constructor takes.
    [[nodiscard]] static std::size_t scratchBytes(std::int32_t n) {
        return 10 * Scratch::bytesFor<std::int32_t>(n) + ScoreLists::scratchBytes(n);
    }

    [[nodiscard]] static std::size_t clusterScratchBytes(std::int32_t n);

    /// Fills `order` and returns the number of dense vertices, which stand at its end.
    std::int32_t run(const NodeGraph& graph, std::int32_t* order, Scratch scratch);

    // Elimination of the vertices of low degree alone: kernel.cpp.

    /// Eliminates while some vertex has a degree of at most `limit`, which is below n. Fills
    /// kernelOf [n]: for a vertex that is left its number in the kernel, ascending, with vertices
    /// found to be identical under one number; for a dense one noKernel; for an eliminated one
    /// noKernel - 1 - r, where r is the last pivot of its tree. Fills `order` with all vertices
    /// that are not dense: a postorder of the elimination, with each tree, and identical vertices,
    /// in one run. Returns the count of the numbers.
    static constexpr std::int32_t noKernel = -1;
    std::int32_t eliminateUpTo(std::int32_t limit, const NodeGraph& graph, std::int32_t* kernelOf,
                               std::int32_t* order, Scratch scratch);
    [[nodiscard]] std::int32_t numDense() const { return numDense_; }
    [[nodiscard]] const std::int32_t* dense() const { return dense_; }
    /// Bounds the length of the lists that writeKernel makes.
    [[nodiscard]] std::int64_t kernelEdgeBound(const std::int32_t* kernelOf) const;
    /// The graph of what is left, by the numbers of kernelOf. Returns the length of the lists.
    std::int32_t writeKernel(const std::int32_t* kernelOf, std::int32_t* vertexBegin,
                             std::int32_t* adjacency);

private:
    static constexpr std::int32_t none = -1;
    static constexpr std::int32_t maxInt = std::numeric_limits<std::int32_t>::max();

    // Setting up.
    void readGraph(const NodeGraph& graph);
    void listVertices();

    void nameTrees(std::int32_t* kernelOf, const std::int32_t* order, std::int32_t count) const;

    // Dense vertices: dense_tail.cpp.
    void setAsideDense(const NodeGraph& graph, Scratch scratch);
    void bringBackDense();
    void findParts();
    void listTouchedParts(std::int32_t i);
    void openParts();
    [[nodiscard]] std::int32_t boundDegree(std::int32_t i) const;
    void moveDenseLast(std::int32_t* order);

    // Clusters: clusters.cpp.
    void eliminateByClusters(Scratch scratch);
    void eliminateCluster(const std::int32_t* member, const std::int32_t* end);
    /// Whether i may be chosen now, and then stands in a score list.
    [[nodiscard]] bool hasItsTurn(std::int32_t i) const {
        return options_.cluster == nullptr || options_.cluster[i] == turn_;
    }
    [[nodiscard]] bool inSameCluster(std::int32_t i, std::int32_t j) const {
        return options_.cluster == nullptr || options_.cluster[i] == options_.cluster[j];
    }

    // One pivot.
    void eliminate(std::int32_t pivot);
    void takeIntoElement(std::int32_t i, std::int32_t& end);
    void formElementInPlace();
    void formElement();
    void makeRoom();
    void compact();
    void absorbElement(std::int32_t e);
    void measureElements();
    void updateVariable(std::int32_t i);
    void eliminateWithPivot(std::int32_t i);
    void enterHash(std::int32_t i, std::uint32_t hash);
    void mergeIdentical();
    void mergeInto(std::int32_t i);
    [[nodiscard]] bool isMarkedTwin(std::int32_t i, std::int32_t j) const;
    void relistVariables(bool inPlace);
    [[nodiscard]] std::int32_t nextScore(std::int32_t degree, std::int32_t pivotDegree,
                                         std::int32_t weight) const;
    [[nodiscard]] std::int32_t firstScore(std::int32_t degree) const;
    [[nodiscard]] std::int32_t worstScore() const {
        return options_.score == EliminationScore::degree ? n_ - 1 : maxInt;
    }

    void closeElement(std::int32_t e) {
        begin_[e] = none;
        mark_[e] = 0;
    }

    // Stamps only grow; near the end of the range all marks of live objects go back to 1.
    void freshStamp() {
        if (stamp_ < maxInt - n_ && stamp_ >= 2) return;
        for (std::int32_t i = 0; i < n_; ++i) {
            if (mark_[i] != 0) mark_[i] = 1;
        }
        stamp_ = 2;
    }

    std::int32_t n_;
    MinimumDegreeOptions options_;
    std::int32_t* adj_;
    std::int64_t capacity_;
    std::int32_t free_;            // first unused place of adj
    std::int32_t* begin_;          // start of the list in adj, -1 when it has none any more
    std::int32_t* length_;         // items in the list
    std::int32_t* elementLength_;  // elements among them; of a pivot, the size of its front
    std::int32_t* weight_;         // vertices merged; 0 when inside another or dense
    std::int32_t* degree_;         // bound of the external degree; of an element, its weight
    std::int32_t* mark_;           // 0: closed element
    std::int32_t* parent_;         // as in AssemblyForest
    std::int32_t* hashHead_;
    std::int32_t* dense_;  // the vertices set aside
    std::int32_t* part_;   // made when there are dense vertices
    std::uint32_t hashMask_;
    ScoreLists lists_;
    std::int32_t* hashNext_;
    std::int32_t* hashOf_;
    std::int32_t stamp_ = 2;
    std::int32_t largestElement_ = 0;
    std::int32_t numEliminated_ = 0;
    std::int32_t numDense_ = 0;
    std::int32_t turn_ = 0;  // the cluster that is being eliminated
    std::int32_t pivot_ = none;
    std::int32_t pivotWeight_ = 0;
    std::int32_t pivotDegree_ = 0;
    std::int32_t first_ = 0;  // the new element's items in adj
    std::int32_t end_ = 0;
};

}  // namespace ovrelin
