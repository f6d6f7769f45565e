#include "dff/FileReader.h"

#include <cstring>
#include <fcntl.h>
// The plain digest calls: the same assembly as the provider interface, without the provider
// tables that interface loads into every process, and with a context that copies as a value.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/md5.h>
#include <stdexcept>
#include <unistd.h>

namespace dff {
namespace {

// One buffer for all readers of a thread: a race among many files costs no buffer per file. A
// stage is read in large chunks, so that a file of many blocks costs few system calls.
constexpr long long chunkSize = 256 << 10;

char* readBuffer() {
    thread_local std::unique_ptr<char[]> buffer(new char[chunkSize]);
    return buffer.get();
}

struct Descriptor {
    int fd;
    ~Descriptor() {
        if (fd >= 0)
            ::close(fd);
    }
};

} // namespace

MD5::MD5() = default;

MD5::~MD5() = default;

MD5_CTX& MD5::context() {
    if (!context_) {
        context_ = std::make_unique<MD5_CTX>();
        MD5_Init(context_.get());
    }
    return *context_;
}

void MD5::reset() {
    MD5_Init(&context());
}

void MD5::updateMD5(const void* data, long long size) {
    MD5_Update(&context(), data, static_cast<size_t>(size));
}

void MD5::hashValue(HashValue& out) {
    MD5_CTX finishing = context();
    unsigned char digest[MD5_DIGEST_LENGTH];
    MD5_Final(digest, &finishing);
    std::memcpy(&out.first, digest, 8);
    std::memcpy(&out.second, digest + 8, 8);
}

bool FileReader::read(const std::function<void(const char*, long long)>& sink) {
    if (size_ == 0)
        return true;
    Descriptor file{::open(path_->cStr(), O_RDONLY | O_CLOEXEC)};
    if (file.fd < 0)
        throw std::runtime_error("Failed to open file");
    long long stageEnd = position_ + (position_ == 0 ? blockSize : blockSize * blocksPerStage);
    char* buffer = readBuffer();
    while (position_ < stageEnd && position_ != size_) {
        long long wanted = std::min(stageEnd - position_, chunkSize);
        if (position_ < size_)
            wanted = std::min(wanted, size_ - position_);
        ssize_t got = ::pread(file.fd, buffer, static_cast<size_t>(wanted), position_);
        if (got <= 0)
            throw std::runtime_error("Failed to read file");
        sink(buffer, got);
        position_ += got;
    }
    return position_ == size_;
}

bool hashSymlink(const Symlink& link, HashValue& out) {
    static char* buffer = new char[1024];
    ssize_t length = ::readlink(link.path.cStr(), buffer, 1024);
    if (length != link.size)
        return false;
    MD5 digest;
    digest.updateMD5(buffer, length);
    digest.hashValue(out);
    return true;
}

} // namespace dff
