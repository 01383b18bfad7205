#include "sparse/order/elimination.hpp"

#include <algorithm>
#include <bit>
#include <cmath>

#include "sparse/order/assembly_order.hpp"

namespace ovrelin {
namespace {

// d(d-1)/2 overflows from this degree on.
constexpr std::int32_t fillOverflowDegree = 46341;

}  // namespace

Elimination::Elimination(const NodeGraph& graph, const MinimumDegreeOptions& options,
                         Scratch& scratch)
    : n_(graph.numNode),
      options_(options),
      adj_(graph.nodeAdj),
      capacity_(std::min<std::int64_t>(graph.capacity, maxInt)),
      free_(graph.nodeBegin[n_]),
      begin_(scratch.take<std::int32_t>(n_)),
      length_(scratch.take<std::int32_t>(n_)),
      elementLength_(scratch.take<std::int32_t>(n_)),
      weight_(scratch.take<std::int32_t>(n_)),
      degree_(scratch.take<std::int32_t>(n_)),
      mark_(scratch.take<std::int32_t>(n_)),
      parent_(scratch.take<std::int32_t>(n_)),
      hashHead_(scratch.take<std::int32_t>(n_)),
      dense_(scratch.take<std::int32_t>(n_)),
      part_(scratch.take<std::int32_t>(n_)),
      hashMask_(std::bit_floor(static_cast<std::uint32_t>(std::max(n_, 1))) - 1),
      lists_(n_, scratch),
      hashNext_(lists_.idleNext()),
      hashOf_(lists_.idlePrevious()) {
    readGraph(graph);
}

std::int32_t Elimination::run(const NodeGraph& graph, std::int32_t* order, Scratch scratch) {
    setAsideDense(graph, scratch);
    listVertices();
    if (options_.cluster != nullptr) eliminateByClusters(scratch);
    while (numEliminated_ < n_) eliminate(lists_.takeLowest());
    if (numDense_ > 0) {
        bringBackDense();
        while (numEliminated_ < n_) eliminate(lists_.takeLowest());
    }
    const AssemblyForest forest{n_, parent_, weight_, elementLength_};
    assemblyOrder(forest, order, scratch);
    if (numDense_ > 0) moveDenseLast(order);
    return numDense_;
}

void Elimination::readGraph(const NodeGraph& graph) {
    for (std::int32_t i = 0; i < n_; ++i) {
        begin_[i] = graph.nodeBegin[i];
        length_[i] = graph.nodeBegin[i + 1] - graph.nodeBegin[i];
        degree_[i] = length_[i];
        elementLength_[i] = 0;
        weight_[i] = 1;
        mark_[i] = 1;
        parent_[i] = none;
        hashHead_[i] = none;
    }
}

void Elimination::listVertices() {
    for (std::int32_t i = 0; i < n_; ++i) {
        if (weight_[i] == 0) continue;
        if (degree_[i] == 0) {
            closeElement(i);
            elementLength_[i] = 1;
            ++numEliminated_;
        } else if (options_.cluster == nullptr) {
            const bool waits = options_.waits != nullptr && options_.waits[i] != 0;
            lists_.add(i, waits ? worstScore() : firstScore(degree_[i]));
        }
    }
}

std::int32_t Elimination::firstScore(std::int32_t degree) const {
    if (options_.score == EliminationScore::degree) return degree;
    if (degree >= fillOverflowDegree) return maxInt;
    return static_cast<std::int32_t>(std::int64_t{degree} * (degree - 1) / 2);
}

// Fill of eliminating a supervariable of weight w and external degree g, when the pivot element
// already joins the p - w other vertices that they share; for each merged vertex.
std::int32_t Elimination::nextScore(std::int32_t degree, std::int32_t pivotDegree,
                                    std::int32_t weight) const {
    if (options_.score == EliminationScore::degree) return degree;
    const double g = degree;
    const double w = weight;
    const double shared = static_cast<double>(pivotDegree) - w;
    const double divisor = options_.rootWeight ? std::sqrt(w) : w;
    const double score = (g * (g - 1.0) - shared * (shared - 1.0)) / (2.0 * divisor);
    return static_cast<std::int32_t>(std::min(score, static_cast<double>(maxInt - n_)));
}

// Weights are negated for the variables of the element while it is being worked on.
void Elimination::eliminate(std::int32_t pivot) {
    pivot_ = pivot;
    pivotWeight_ = weight_[pivot];
    pivotDegree_ = 0;
    numEliminated_ += pivotWeight_;
    weight_[pivot] = -pivotWeight_;
    const bool inPlace = elementLength_[pivot] == 0;
    if (inPlace) {
        formElementInPlace();
    } else {
        formElement();
    }
    degree_[pivot] = pivotDegree_;
    freshStamp();
    measureElements();
    for (std::int32_t p = first_; p < end_; ++p) updateVariable(adj_[p]);
    degree_[pivot] = pivotDegree_;
    largestElement_ = std::max(largestElement_, pivotDegree_);
    stamp_ += largestElement_;
    freshStamp();
    mergeIdentical();
    relistVariables(inPlace);
}

void Elimination::takeIntoElement(std::int32_t i, std::int32_t& end) {
    const std::int32_t w = weight_[i];
    if (w <= 0) return;
    pivotDegree_ += w;
    weight_[i] = -w;
    adj_[end++] = i;
    if (hasItsTurn(i)) lists_.remove(i);
}

void Elimination::formElementInPlace() {
    first_ = begin_[pivot_];
    end_ = first_;
    const std::int32_t listEnd = first_ + length_[pivot_];
    for (std::int32_t p = first_; p < listEnd; ++p) takeIntoElement(adj_[p], end_);
    length_[pivot_] = end_ - first_;
}

void Elimination::formElement() {
    makeRoom();
    const std::int32_t elements = begin_[pivot_];
    const std::int32_t variables = elements + elementLength_[pivot_];
    const std::int32_t listEnd = elements + length_[pivot_];
    first_ = free_;
    end_ = free_;
    for (std::int32_t p = elements; p < variables; ++p) {
        const std::int32_t e = adj_[p];
        const std::int32_t elementEnd = begin_[e] + length_[e];
        for (std::int32_t q = begin_[e]; q < elementEnd; ++q) takeIntoElement(adj_[q], end_);
        absorbElement(e);
    }
    for (std::int32_t p = variables; p < listEnd; ++p) takeIntoElement(adj_[p], end_);
    free_ = end_;
    begin_[pivot_] = first_;
    length_[pivot_] = end_ - first_;
}

void Elimination::makeRoom() {
    std::int64_t bound = length_[pivot_] - elementLength_[pivot_];
    for (std::int32_t k = 0; k < elementLength_[pivot_]; ++k) {
        bound += length_[adj_[begin_[pivot_] + k]];
    }
    bound = std::min<std::int64_t>(bound, n_ - numEliminated_);
    if (free_ + bound > capacity_) compact();
}

// The first item of each live list changes places with a mark that names the list's owner, so
// that one sweep over adj can move the lists to the front.
void Elimination::compact() {
    for (std::int32_t i = 0; i < n_; ++i) {
        if (begin_[i] < 0 || length_[i] == 0) continue;
        const std::int32_t start = begin_[i];
        begin_[i] = adj_[start];
        adj_[start] = ~i;
    }
    std::int32_t to = 0;
    for (std::int32_t from = 0; from < free_;) {
        const std::int32_t item = adj_[from++];
        if (item >= 0) continue;
        const std::int32_t owner = ~item;
        const std::int32_t start = to;
        adj_[to++] = begin_[owner];
        begin_[owner] = start;
        for (std::int32_t k = 1; k < length_[owner]; ++k) adj_[to++] = adj_[from++];
    }
    free_ = to;
}

void Elimination::absorbElement(std::int32_t e) {
    parent_[e] = pivot_;
    closeElement(e);
}

// Afterwards mark[e] - stamp is the weight of e outside the new element, for every element that
// the new one touches.
void Elimination::measureElements() {
    for (std::int32_t p = first_; p < end_; ++p) {
        const std::int32_t i = adj_[p];
        const std::int32_t numElements = elementLength_[i];
        if (numElements == 0) continue;
        const std::int32_t w = -weight_[i];
        const std::int32_t fresh = stamp_ - w;
        const std::int32_t* list = adj_ + begin_[i];
        for (std::int32_t k = 0; k < numElements; ++k) {
            const std::int32_t e = list[k];
            const std::int32_t mark = mark_[e];
            if (mark >= stamp_) {
                mark_[e] = mark - w;
            } else if (mark != 0) {
                mark_[e] = degree_[e] + fresh;
            }
        }
    }
}

// Drops what the new element covers from the lists of i, puts the element in front, and bounds
// the degree outside of it. An element that lies inside the new one is absorbed.
void Elimination::updateVariable(std::int32_t i) {
    const std::int32_t start = begin_[i];
    const std::int32_t elementsEnd = start + elementLength_[i];
    const std::int32_t listEnd = start + length_[i];
    std::int32_t to = start;
    std::int32_t outside = 0;
    std::uint32_t hash = 0;
    for (std::int32_t p = start; p < elementsEnd; ++p) {
        const std::int32_t e = adj_[p];
        const std::int32_t mark = mark_[e];
        if (mark == 0) continue;
        if (mark == stamp_) {
            absorbElement(e);
            continue;
        }
        outside += mark - stamp_;
        adj_[to++] = e;
        hash += static_cast<std::uint32_t>(e);
    }
    const std::int32_t variables = to;
    for (std::int32_t p = elementsEnd; p < listEnd; ++p) {
        const std::int32_t j = adj_[p];
        const std::int32_t w = weight_[j];
        if (w <= 0) continue;
        outside += w;
        adj_[to++] = j;
        hash += static_cast<std::uint32_t>(j);
    }
    if (to == start && hasItsTurn(i)) {
        eliminateWithPivot(i);
        return;
    }
    elementLength_[i] = variables - start + 1;
    length_[i] = to - start + 1;
    degree_[i] = std::min(degree_[i], outside);
    // The covered items leave at least one free place behind the list.
    adj_[to] = adj_[variables];
    adj_[variables] = adj_[start];
    adj_[start] = pivot_;
    enterHash(i, hash & hashMask_);
}

// All that i touches is inside the element: it can be eliminated with the pivot, without fill.
void Elimination::eliminateWithPivot(std::int32_t i) {
    const std::int32_t w = -weight_[i];
    parent_[i] = pivot_;
    begin_[i] = none;
    weight_[i] = 0;
    pivotDegree_ -= w;
    pivotWeight_ += w;
    numEliminated_ += w;
}

void Elimination::enterHash(std::int32_t i, std::uint32_t hash) {
    hashNext_[i] = hashHead_[hash];
    hashHead_[hash] = i;
    hashOf_[i] = static_cast<std::int32_t>(hash);
}

void Elimination::mergeIdentical() {
    for (std::int32_t p = first_; p < end_; ++p) {
        const std::int32_t i = adj_[p];
        if (weight_[i] >= 0) continue;
        std::int32_t& head = hashHead_[hashOf_[i]];
        std::int32_t candidate = head;
        head = none;
        while (candidate != none && hashNext_[candidate] != none) {
            mergeInto(candidate);
            candidate = hashNext_[candidate];
        }
    }
}

// Compares i with all that follow it in its hash list.
void Elimination::mergeInto(std::int32_t i) {
    for (std::int32_t p = begin_[i] + 1; p < begin_[i] + length_[i]; ++p) {
        mark_[adj_[p]] = stamp_;
    }
    std::int32_t previous = i;
    for (std::int32_t j = hashNext_[i]; j != none; j = hashNext_[j]) {
        if (!isMarkedTwin(i, j)) {
            previous = j;
            continue;
        }
        parent_[j] = i;
        begin_[j] = none;
        weight_[i] += weight_[j];
        weight_[j] = 0;
        hashNext_[previous] = hashNext_[j];
    }
    ++stamp_;
}

bool Elimination::isMarkedTwin(std::int32_t i, std::int32_t j) const {
    if (length_[i] != length_[j] || elementLength_[i] != elementLength_[j]) return false;
    if (!inSameCluster(i, j)) return false;
    const std::int32_t* item = adj_ + begin_[j];
    for (std::int32_t k = 1; k < length_[j]; ++k) {
        if (mark_[item[k]] != stamp_) return false;
    }
    return true;
}

void Elimination::relistVariables(bool inPlace) {
    const std::int32_t left = n_ - numEliminated_;
    std::int32_t to = first_;
    for (std::int32_t p = first_; p < end_; ++p) {
        const std::int32_t i = adj_[p];
        const std::int32_t w = -weight_[i];
        if (w <= 0) continue;
        weight_[i] = w;
        degree_[i] = std::min(degree_[i] + pivotDegree_ - w, left - w);
        if (hasItsTurn(i)) lists_.add(i, nextScore(degree_[i], pivotDegree_, w));
        adj_[to++] = i;
    }
    weight_[pivot_] = pivotWeight_;
    elementLength_[pivot_] = pivotWeight_ + pivotDegree_;
    length_[pivot_] = to - first_;
    if (to == first_) closeElement(pivot_);
    if (!inPlace) free_ = to;
}

}  // namespace ovrelin
