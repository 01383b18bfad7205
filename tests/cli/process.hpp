// Runs ovsolve and collects what it prints.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

namespace ov::test {

inline const std::string kExamples = OVRELIN_SOURCE_DIR "/examples/";

/// A file that lives as long as this object.
class TempFile {
public:
    explicit TempFile(const std::string& name, const std::string& content = "") {
        static int count = 0;
        path_ = testing::TempDir() + "ov_" + std::to_string(getpid()) + "_" +
                std::to_string(++count) + "_" + name;
        if (!content.empty()) std::ofstream(path_, std::ios::binary) << content;
    }
    ~TempFile() { (void)std::remove(path_.c_str()); }
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;

    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] std::string content() const {
        std::ifstream in(path_, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

private:
    std::string path_;
};

struct Outcome {
    int exitCode = -1;  ///< minus the signal's number when one ended the program
    std::string out, err;
};

/// A run to its end, by way of the shell. A `signal` is sent when the first iteration is shown.
inline Outcome ovsolve(const std::vector<std::string>& arguments,
                       const std::string& input = "/dev/null", int signal = 0) {
    const TempFile out("out"), err("err"), pid("pid");
    const auto quoted = [](const std::string& word) { return "'" + word + "' "; };
    std::string command = "echo $$ >" + quoted(pid.path()) + "; exec ";
    command += quoted(OVRELIN_BIN_DIR "/ovsolve");
    for (const std::string& argument : arguments) command += quoted(argument);
    command += "<" + quoted(input) + ">" + quoted(out.path()) + "2>" + quoted(err.path());
    std::atomic<bool> ended = signal == 0;
    std::thread sender([&] {
        while (!ended && out.content().find("Iteration") == std::string::npos)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        if (!ended) (void)kill(std::stoi(pid.content()), signal);
    });
    const int status = std::system(command.c_str());
    ended = true;
    sender.join();
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), out.content(),
            err.content()};
}

}  // namespace ov::test
