// ovsolve: solves a model file and prints how it went.
#include <cstdio>

#include "cli/options.hpp"
#include "cli/run.hpp"

int main(int argc, char** argv) {
    // Whoever reads the iteration log through a pipe wants each line when it is written.
    (void)std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    ov::cli::Options options;
    if (const auto ending = ov::cli::parseOptions(argc, argv, options)) return *ending;
    return ov::cli::run(options);
}
