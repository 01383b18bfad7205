// Runs a program and collects what it prints.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace ov::test {

struct Outcome {
    int exitCode = -1;  ///< minus the signal's number when one ended the program
    std::string out, err;
};

/// A running program. Its output goes to files, so that it never waits for a reader.
class Process {
public:
    Process(const std::string& program, std::vector<std::string> arguments,
            const std::string& input = "/dev/null");
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    [[nodiscard]] std::string outSoFar() const;
    /// Waits until standard output holds `text`; false when the program ends or a minute passes.
    [[nodiscard]] bool waitForOutput(const std::string& text);
    void signal(int number) const;
    [[nodiscard]] Outcome finish();

private:
    [[nodiscard]] bool hasEnded();

    std::string base_;
    pid_t pid_ = -1;
    int status_ = 0;
    bool ended_ = false;
};

/// A file that lives as long as this object.
class TempFile {
public:
    explicit TempFile(const std::string& name, const std::string& content = "");
    ~TempFile();
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;

    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] std::string content() const;

private:
    std::string path_;
};

inline const std::string kExamples = OVRELIN_SOURCE_DIR "/examples/";

/// A run of ovsolve to its end.
inline Outcome ovsolve(const std::vector<std::string>& arguments,
                       const std::string& input = "/dev/null") {
    return Process(OVRELIN_BIN_DIR "/ovsolve", arguments, input).finish();
}

}  // namespace ov::test
