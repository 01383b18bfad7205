#include "process.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <thread>

extern char** environ;

namespace ov::test {
namespace {

std::string contentOf(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

std::string uniquePath(const std::string& name) {
    static int count = 0;
    return testing::TempDir() + "ov_" + std::to_string(getpid()) + "_" + std::to_string(++count) +
           "_" + name;
}

}  // namespace

Process::Process(const std::string& program, std::vector<std::string> arguments,
                 const std::string& input)
    : base_(uniquePath("run")) {
    arguments.insert(arguments.begin(), program);
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    constexpr int kWrite = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_addopen(&actions, 0, input.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, (base_ + ".out").c_str(), kWrite, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, (base_ + ".err").c_str(), kWrite, 0600);
    const int error = posix_spawn(&pid_, program.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    EXPECT_EQ(error, 0) << "cannot start " << program;
    ended_ = error != 0;
}

Process::~Process() {
    if (!hasEnded()) {
        signal(SIGKILL);
        (void)waitpid(pid_, &status_, 0);
    }
    (void)std::remove((base_ + ".out").c_str());
    (void)std::remove((base_ + ".err").c_str());
}

bool Process::hasEnded() {
    if (!ended_) ended_ = waitpid(pid_, &status_, WNOHANG) == pid_;
    return ended_;
}

std::string Process::outSoFar() const {
    return contentOf(base_ + ".out");
}

bool Process::waitForOutput(const std::string& text) {
    for (int k = 0; k < 6000; ++k) {
        if (outSoFar().find(text) != std::string::npos) return true;
        if (hasEnded()) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

void Process::signal(int number) const {
    (void)kill(pid_, number);
}

Outcome Process::finish() {
    if (!ended_) (void)waitpid(pid_, &status_, 0);
    ended_ = true;
    return {WIFEXITED(status_) ? WEXITSTATUS(status_) : -WTERMSIG(status_), outSoFar(),
            contentOf(base_ + ".err")};
}

TempFile::TempFile(const std::string& name, const std::string& content) : path_(uniquePath(name)) {
    if (content.empty()) return;
    std::ofstream(path_, std::ios::binary) << content;
}

TempFile::~TempFile() {
    (void)std::remove(path_.c_str());
}

std::string TempFile::content() const {
    return contentOf(path_);
}

}  // namespace ov::test
