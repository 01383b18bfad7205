// Names to indices: an open-addressing table over views into the model's text, which is what the
// reader spends most of its time in.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace ov::modelio {

class NameTable {
public:
    /// Index of `name`, or -1.
    [[nodiscard]] std::int32_t find(std::string_view name) const {
        return slots_.empty() ? -1 : slots_[slotOf(name)];
    }

    /// Gives `name` the next index; false when the name is there already. The caller keeps the
    /// text alive.
    bool insert(std::string_view name) {
        if (2 * (names_.size() + 1) > slots_.size()) grow();
        const std::size_t slot = slotOf(name);
        if (slots_[slot] >= 0) return false;
        slots_[slot] = static_cast<std::int32_t>(names_.size());
        names_.push_back(name);
        return true;
    }

    [[nodiscard]] std::int32_t size() const { return static_cast<std::int32_t>(names_.size()); }
    [[nodiscard]] std::string_view operator[](std::int32_t index) const {
        return names_[static_cast<std::size_t>(index)];
    }

private:
    // The slot that holds `name`, or the empty one where it would go.
    [[nodiscard]] std::size_t slotOf(std::string_view name) const {
        const std::size_t mask = slots_.size() - 1;
        std::size_t slot = std::hash<std::string_view>{}(name)&mask;
        while (slots_[slot] >= 0 && names_[static_cast<std::size_t>(slots_[slot])] != name)
            slot = (slot + 1) & mask;
        return slot;
    }

    void grow() {
        slots_.assign(slots_.empty() ? 64 : 2 * slots_.size(), -1);
        for (std::size_t i = 0; i < names_.size(); ++i)
            slots_[slotOf(names_[i])] = static_cast<std::int32_t>(i);
    }

    std::vector<std::string_view> names_;
    std::vector<std::int32_t> slots_;  // a power of two, at most half full
};

}  // namespace ov::modelio
