// What every self-check shares: it announces itself, goes on after a fault so that one run lists
// them all, and ends with a status that stops the solve. A missing log channel silences it and
// nothing else.
#pragma once

#include "frame/log.hpp"
#include "frame/status.hpp"

namespace ovrelin {

class Check {
public:
    explicit Check(const SolverInstance* instance) : instance_(instance) {
        logText(instance, "running debug code......");
    }
    template <class... Args>
    void fault(const char* format, Args... args) {
        logText(instance_, format, args...);
        status_ = Status::failed;
    }
    /// Reports unless `holds`.
    template <class... Args>
    void require(bool holds, const char* format, Args... args) {
        if (!holds) fault(format, args...);
    }
    [[nodiscard]] Status status() const { return status_; }

private:
    const SolverInstance* instance_;
    Status status_ = Status::ok;
};

}  // namespace ovrelin
