#include "sparse/numeric/run.hpp"

#include "sparse/numeric/root_sum.hpp"

namespace ovrelin {

namespace {

using std::int32_t;
using std::int64_t;

/// Levels of the tree that are climbed before a search in the target's own list is the shorter way.
constexpr int32_t mostLevels = 3;
constexpr int32_t stride = 8;

}  // namespace

RunWalk::RunWalk(Factorisation& work, const Front& front)
    : work_(work),
      rows_(front.rows + front.k),
      count_(front.m - front.k),
      place_(nullptr),
      super_(-1),
      from_(0) {
    const LdlSymbolic& symbolic = work.symbolic;
    // The analysis tells the places in the parent of what lies below a supernode; a strip of one
    // has rows of its own supernode below it, unless it is the last.
    const int32_t super = symbolic.colToSuper[front.firstCol];
    if (front.firstCol + front.k != symbolic.superFirstCol[super + 1]) return;
    place_ = symbolic.parentPlace.data() + symbolic.blocks.rowBegin[front.index] + front.k;
    super_ = symbolic.superParent[super];
}

Run RunWalk::runAt(int32_t begin) {
    const int32_t row = rows_[begin];
    if (row >= work_.endColumn) return runInSum(begin);
    const Front target = frontOf(work_.symbolic, work_.symbolic.blocks.colToBlock[row]);
    return runIn(target, begin, row - target.firstCol, target.firstCol + target.k);
}

Run RunWalk::runInSum(int32_t begin) const {
    const RootSum& sum = *work_.sum;
    const Front strip = sum.stripWith(sum.place[rows_[begin]]);
    return runIn(strip, begin, sum.placeIn(strip, rows_[begin]), strip.rows[strip.k - 1] + 1);
}

/// The run of the rows from `begin` on, which stands at place `first`, that are below `lastCol`.
Run RunWalk::runIn(const Front& target, int32_t begin, int32_t first, int32_t lastCol) const {
    int32_t end = begin + 1;
    while (end < count_ && rows_[end] < lastCol) ++end;
    // Both lists ascend and the target's holds the front's: equal ends at equal distance leave no
    // gap.
    const int32_t last = first + count_ - 1 - begin;
    const bool consecutive = last < target.m && target.rows[last] == rows_[count_ - 1];
    return {target, begin, end, first, consecutive};
}

const int32_t* RunWalk::locate(const Run& run) {
    from_ = run.begin;
    if (run.target.isOfSum()) return locateInSum(run);
    const LdlSymbolic& symbolic = work_.symbolic;
    const int32_t super = symbolic.colToSuper[run.target.firstCol];
    // Places in a supernode are those in its first strip.
    const bool isFirst = run.target.firstCol == symbolic.superFirstCol[super];
    if (super_ >= 0 && isFirst)
        for (int32_t level = 0; level < mostLevels && super_ != super; ++level) climb();
    if (super_ != super || !isFirst) {
        search(run);
        super_ = isFirst ? super : -1;
    }
    return place_;
}

const int32_t* RunWalk::locateInSum(const Run& run) {
    const RootSum& sum = *work_.sum;
    int32_t* const out = work_.scratch.position;
    for (int32_t r = run.begin; r < count_; ++r) out[r] = sum.placeIn(run.target, rows_[r]);
    return out;
}

/// From a supernode to its parent.
void RunWalk::climb() {
    const LdlSymbolic& symbolic = work_.symbolic;
    const int32_t* const up = symbolic.parentPlace.data() + symbolic.rowBegin[super_];
    int32_t* const out = work_.scratch.position;
    for (int32_t r = from_; r < count_; ++r) out[r] = up[place_[r]];
    place_ = out;
    super_ = symbolic.superParent[super_];
}

/// By a forward merge of the two lists, in strides where the target's is much the longer.
void RunWalk::search(const Run& run) {
    const int32_t* const list = run.target.rows;
    int32_t* const out = work_.scratch.position;
    int32_t at = run.first;
    for (int32_t r = run.begin; r < count_; ++r, ++at) {
        const int32_t row = rows_[r];
        while (at + stride < run.target.m && list[at + stride] <= row) at += stride;
        while (list[at] != row) ++at;
        out[r] = at;
    }
    place_ = out;
}

}  // namespace ovrelin
