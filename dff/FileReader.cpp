#include "dff/FileReader.h"

#include <cstring>
#include <fcntl.h>
#include <openssl/evp.h>
#include <stdexcept>
#include <unistd.h>

namespace dff {
namespace {

// One buffer for all readers: a race among many files costs no buffer per file. A stage is read
// in large chunks, so that a file of many blocks costs few system calls.
constexpr long long chunkSize = 1 << 20;

char* readBuffer() {
    static char* buffer = new char[chunkSize];
    return buffer;
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

MD5::~MD5() {
    EVP_MD_CTX_free(context_);
}

EVP_MD_CTX* MD5::context() {
    if (!context_) {
        context_ = EVP_MD_CTX_new();
        EVP_DigestInit_ex(context_, EVP_md5(), nullptr);
    }
    return context_;
}

void MD5::reset() {
    EVP_DigestInit_ex(context(), EVP_md5(), nullptr);
}

void MD5::updateMD5(const void* data, long long size) {
    EVP_DigestUpdate(context(), data, static_cast<size_t>(size));
}

void MD5::hashValue(HashValue& out) {
    EVP_MD_CTX* copy = EVP_MD_CTX_new();
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    EVP_MD_CTX_copy_ex(copy, context());
    EVP_DigestFinal_ex(copy, digest, &length);
    EVP_MD_CTX_free(copy);
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
