#include "modelio/text_source.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <new>

#include "modelio/read_error.hpp"

namespace ov::modelio {
namespace {

constexpr unsigned kChunk = 1U << 16;  // data near an error is lost with its chunk: keep it short

struct GzClose {
    void operator()(gzFile file) const { (void)gzclose_r(file); }
};
using GzHandle = std::unique_ptr<gzFile_s, GzClose>;

[[noreturn]] void failToOpen(const std::string& path, int error) {
    const bool missing = error == ENOENT || error == ENOTDIR;
    throw ReadError(missing ? ReadError::Kind::NoSuchFile : ReadError::Kind::Invalid,
                    displayName(path), 0, missing ? "no such file" : std::strerror(error));
}

int openDescriptor(const std::string& path) {
    const int descriptor =
        path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) failToOpen(path, errno);
    struct stat info {};
    if (fstat(descriptor, &info) == 0 && S_ISDIR(info.st_mode)) {
        close(descriptor);
        failToOpen(path, EISDIR);
    }
    return descriptor;
}

GzHandle openStream(const std::string& path) {
    const int descriptor = openDescriptor(path);
    GzHandle stream(gzdopen(descriptor, "rb"));
    if (!stream) {
        close(descriptor);
        failToOpen(path, ENOMEM);
    }
    (void)gzbuffer(stream.get(), kChunk);
    return stream;
}

class Loader {
public:
    Loader(const std::string& path, const TextLimits& limits)
        : file_(displayName(path)), limits_(limits), stream_(openStream(path)) {}

    std::string run() {
        while (appendChunk()) checkSize();
        checkEnd();
        return std::move(text_);
    }

private:
    [[noreturn]] void fail(const std::string& reason) const {
        const auto lines = std::count(text_.begin(), text_.end(), '\n');
        throw ReadError(ReadError::Kind::Invalid, file_, lines + 1, reason);
    }

    bool appendChunk() {
        const std::size_t before = text_.size();
        text_.resize(before + kChunk);
        const int got = gzread(stream_.get(), text_.data() + before, kChunk);
        text_.resize(before + static_cast<std::size_t>(std::max(got, 0)));
        if (got < 0) checkEnd();
        return got > 0;
    }

    void checkSize() const {
        const auto size = static_cast<std::int64_t>(text_.size());
        if (size > limits_.maxBytes)
            fail("the model is larger than " + std::to_string(limits_.maxBytes) + " bytes");
        const auto packed = static_cast<std::int64_t>(gzoffset(stream_.get()));
        if (size > limits_.ratioFrom && packed > 0 && size / packed >= limits_.maxRatio)
            fail("the compressed file expands to more than " + std::to_string(limits_.maxRatio) +
                 " times its size");
    }

    // A stream that ends in its middle is reported only here, after its last bytes.
    void checkEnd() const {
        int code = Z_OK;
        std::string_view text = gzerror(stream_.get(), &code);
        if (code == Z_OK || code == Z_STREAM_END) return;
        if (code == Z_ERRNO) fail(std::string("cannot read: ") + std::strerror(errno));
        text.remove_prefix(std::min(text.size(), text.rfind(": ") + 2));  // the library's file name
        if (code == Z_BUF_ERROR) text = "the file ends too early";
        fail("cannot decompress: " + std::string(text));
    }

    std::string file_;
    TextLimits limits_;
    GzHandle stream_;
    std::string text_;
};

}  // namespace

std::string displayName(const std::string& path) {
    return path == "-" ? "<stdin>" : path;
}

std::string loadText(const std::string& path, const TextLimits& limits) {
    return Loader(path, limits).run();
}

}  // namespace ov::modelio
