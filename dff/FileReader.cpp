#include "dff/FileReader.h"

#include "dff/FolderListing.h"

#include <bit>
#include <cstdint>
#include <cstring>
// The plain digest calls: the same assembly as the provider interface, without the provider
// tables that interface loads into every process, and with a context that copies as a value.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/md5.h>
#include <stdexcept>
#include <unistd.h>

namespace dff {
namespace {

// Buffers for all readers of a thread, one per file read side by side: a race among many files
// costs no buffer per file. A stage is read in large chunks, so that a file of many blocks costs
// few system calls.
constexpr long long chunkSize = 128 << 10;

char* readBuffer(int lane) {
    thread_local std::unique_ptr<char[]> buffers[2];
    if (!buffers[lane])
        buffers[lane].reset(new char[chunkSize]);
    return buffers[lane].get();
}

// MD5's compression of whole 64-byte blocks for two streams at once, interleaved step by step, so
// that the core works on one stream while the other waits on its long chain of dependent steps.
// The contexts are the library's own; only their chaining values and bit counts change here.
#define MD5_F(x, y, z) ((z) ^ ((x) & ((y) ^ (z))))
#define MD5_G(x, y, z) ((y) ^ ((z) & ((x) ^ (y))))
#define MD5_H(x, y, z) ((x) ^ (y) ^ (z))
#define MD5_I(x, y, z) ((y) ^ ((x) | ~(z)))
#define MD5_STEP(f, a, b, c, d, k, s, t)                                                                     \
    a##1 = b##1 + std::rotl(a##1 + f(b##1, c##1, d##1) + word(p1, k) + (t), s);                              \
    a##2 = b##2 + std::rotl(a##2 + f(b##2, c##2, d##2) + word(p2, k) + (t), s);

std::uint32_t word(const unsigned char* block, int index) {
    std::uint32_t value;
    std::memcpy(&value, block + 4 * index, 4);
    return value;
}

void compressSideBySide(MD5_CTX& x, MD5_CTX& y, const unsigned char* p1, const unsigned char* p2,
                        long long blocks) {
    std::uint32_t a1 = x.A, b1 = x.B, c1 = x.C, d1 = x.D, a2 = y.A, b2 = y.B, c2 = y.C, d2 = y.D;
    for (long long block = 0; block < blocks; ++block, p1 += 64, p2 += 64) {
        const std::uint32_t A1 = a1, B1 = b1, C1 = c1, D1 = d1, A2 = a2, B2 = b2, C2 = c2, D2 = d2;
        MD5_STEP(MD5_F, a, b, c, d, 0, 7, 0xd76aa478)
        MD5_STEP(MD5_F, d, a, b, c, 1, 12, 0xe8c7b756)
        MD5_STEP(MD5_F, c, d, a, b, 2, 17, 0x242070db)
        MD5_STEP(MD5_F, b, c, d, a, 3, 22, 0xc1bdceee)
        MD5_STEP(MD5_F, a, b, c, d, 4, 7, 0xf57c0faf)
        MD5_STEP(MD5_F, d, a, b, c, 5, 12, 0x4787c62a)
        MD5_STEP(MD5_F, c, d, a, b, 6, 17, 0xa8304613)
        MD5_STEP(MD5_F, b, c, d, a, 7, 22, 0xfd469501)
        MD5_STEP(MD5_F, a, b, c, d, 8, 7, 0x698098d8)
        MD5_STEP(MD5_F, d, a, b, c, 9, 12, 0x8b44f7af)
        MD5_STEP(MD5_F, c, d, a, b, 10, 17, 0xffff5bb1)
        MD5_STEP(MD5_F, b, c, d, a, 11, 22, 0x895cd7be)
        MD5_STEP(MD5_F, a, b, c, d, 12, 7, 0x6b901122)
        MD5_STEP(MD5_F, d, a, b, c, 13, 12, 0xfd987193)
        MD5_STEP(MD5_F, c, d, a, b, 14, 17, 0xa679438e)
        MD5_STEP(MD5_F, b, c, d, a, 15, 22, 0x49b40821)
        MD5_STEP(MD5_G, a, b, c, d, 1, 5, 0xf61e2562)
        MD5_STEP(MD5_G, d, a, b, c, 6, 9, 0xc040b340)
        MD5_STEP(MD5_G, c, d, a, b, 11, 14, 0x265e5a51)
        MD5_STEP(MD5_G, b, c, d, a, 0, 20, 0xe9b6c7aa)
        MD5_STEP(MD5_G, a, b, c, d, 5, 5, 0xd62f105d)
        MD5_STEP(MD5_G, d, a, b, c, 10, 9, 0x02441453)
        MD5_STEP(MD5_G, c, d, a, b, 15, 14, 0xd8a1e681)
        MD5_STEP(MD5_G, b, c, d, a, 4, 20, 0xe7d3fbc8)
        MD5_STEP(MD5_G, a, b, c, d, 9, 5, 0x21e1cde6)
        MD5_STEP(MD5_G, d, a, b, c, 14, 9, 0xc33707d6)
        MD5_STEP(MD5_G, c, d, a, b, 3, 14, 0xf4d50d87)
        MD5_STEP(MD5_G, b, c, d, a, 8, 20, 0x455a14ed)
        MD5_STEP(MD5_G, a, b, c, d, 13, 5, 0xa9e3e905)
        MD5_STEP(MD5_G, d, a, b, c, 2, 9, 0xfcefa3f8)
        MD5_STEP(MD5_G, c, d, a, b, 7, 14, 0x676f02d9)
        MD5_STEP(MD5_G, b, c, d, a, 12, 20, 0x8d2a4c8a)
        MD5_STEP(MD5_H, a, b, c, d, 5, 4, 0xfffa3942)
        MD5_STEP(MD5_H, d, a, b, c, 8, 11, 0x8771f681)
        MD5_STEP(MD5_H, c, d, a, b, 11, 16, 0x6d9d6122)
        MD5_STEP(MD5_H, b, c, d, a, 14, 23, 0xfde5380c)
        MD5_STEP(MD5_H, a, b, c, d, 1, 4, 0xa4beea44)
        MD5_STEP(MD5_H, d, a, b, c, 4, 11, 0x4bdecfa9)
        MD5_STEP(MD5_H, c, d, a, b, 7, 16, 0xf6bb4b60)
        MD5_STEP(MD5_H, b, c, d, a, 10, 23, 0xbebfbc70)
        MD5_STEP(MD5_H, a, b, c, d, 13, 4, 0x289b7ec6)
        MD5_STEP(MD5_H, d, a, b, c, 0, 11, 0xeaa127fa)
        MD5_STEP(MD5_H, c, d, a, b, 3, 16, 0xd4ef3085)
        MD5_STEP(MD5_H, b, c, d, a, 6, 23, 0x04881d05)
        MD5_STEP(MD5_H, a, b, c, d, 9, 4, 0xd9d4d039)
        MD5_STEP(MD5_H, d, a, b, c, 12, 11, 0xe6db99e5)
        MD5_STEP(MD5_H, c, d, a, b, 15, 16, 0x1fa27cf8)
        MD5_STEP(MD5_H, b, c, d, a, 2, 23, 0xc4ac5665)
        MD5_STEP(MD5_I, a, b, c, d, 0, 6, 0xf4292244)
        MD5_STEP(MD5_I, d, a, b, c, 7, 10, 0x432aff97)
        MD5_STEP(MD5_I, c, d, a, b, 14, 15, 0xab9423a7)
        MD5_STEP(MD5_I, b, c, d, a, 5, 21, 0xfc93a039)
        MD5_STEP(MD5_I, a, b, c, d, 12, 6, 0x655b59c3)
        MD5_STEP(MD5_I, d, a, b, c, 3, 10, 0x8f0ccc92)
        MD5_STEP(MD5_I, c, d, a, b, 10, 15, 0xffeff47d)
        MD5_STEP(MD5_I, b, c, d, a, 1, 21, 0x85845dd1)
        MD5_STEP(MD5_I, a, b, c, d, 8, 6, 0x6fa87e4f)
        MD5_STEP(MD5_I, d, a, b, c, 15, 10, 0xfe2ce6e0)
        MD5_STEP(MD5_I, c, d, a, b, 6, 15, 0xa3014314)
        MD5_STEP(MD5_I, b, c, d, a, 13, 21, 0x4e0811a1)
        MD5_STEP(MD5_I, a, b, c, d, 4, 6, 0xf7537e82)
        MD5_STEP(MD5_I, d, a, b, c, 11, 10, 0xbd3af235)
        MD5_STEP(MD5_I, c, d, a, b, 2, 15, 0x2ad7d2bb)
        MD5_STEP(MD5_I, b, c, d, a, 9, 21, 0xeb86d391)
        a1 += A1, b1 += B1, c1 += C1, d1 += D1, a2 += A2, b2 += B2, c2 += C2, d2 += D2;
    }
    x.A = a1, x.B = b1, x.C = c1, x.D = d1, y.A = a2, y.B = b2, y.C = c2, y.D = d2;
}

#undef MD5_STEP
#undef MD5_I
#undef MD5_H
#undef MD5_G
#undef MD5_F

// The message length the context counts, in bits, split over two words.
void addLength(MD5_CTX& context, long long bytes) {
    std::uint64_t bits =
        ((std::uint64_t{context.Nh} << 32) | context.Nl) + static_cast<std::uint64_t>(bytes) * 8;
    context.Nl = static_cast<MD5_LONG>(bits);
    context.Nh = static_cast<MD5_LONG>(bits >> 32);
}

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

void MD5::updatePair(MD5& first, const void* a, MD5& second, const void* b, long long size) {
    MD5_CTX& x = first.context();
    MD5_CTX& y = second.context();
    // Whole blocks go side by side while neither context holds part of a block; the rest as usual.
    long long whole = x.num == 0 && y.num == 0 ? size / MD5_CBLOCK * MD5_CBLOCK : 0;
    if (whole > 0) {
        compressSideBySide(x, y, static_cast<const unsigned char*>(a), static_cast<const unsigned char*>(b),
                           whole / MD5_CBLOCK);
        addLength(x, whole);
        addLength(y, whole);
    }
    if (size > whole) {
        MD5_Update(&x, static_cast<const char*>(a) + whole, static_cast<size_t>(size - whole));
        MD5_Update(&y, static_cast<const char*>(b) + whole, static_cast<size_t>(size - whole));
    }
}

FileReader::Stage::Stage(FileReader& reader) : reader_(reader), end_(reader.stageEnd()) {
    if (reader.size_ == 0)
        return;
    fd_ = openForReading(reader.path());
    if (fd_ < 0)
        throw std::runtime_error("Failed to open file");
}

FileReader::Stage::~Stage() {
    if (fd_ >= 0)
        ::close(fd_);
}

long long FileReader::Stage::next(const char*& data, int lane) {
    long long& position = reader_.position_;
    if (position >= end_ || position == reader_.size_)
        return 0;
    long long wanted = std::min(end_ - position, chunkSize);
    // A file that grew since the scan is read on to its end, where reading fails.
    if (position < reader_.size_)
        wanted = std::min(wanted, reader_.size_ - position);
    char* buffer = readBuffer(lane);
    ssize_t got = ::pread(fd_, buffer, static_cast<size_t>(wanted), position);
    if (got <= 0)
        throw std::runtime_error("Failed to read file");
    position += got;
    data = buffer;
    return got;
}

bool FileReader::read(const std::function<void(const char*, long long)>& sink) {
    Stage stage(*this);
    const char* data = nullptr;
    while (long long length = stage.next(data))
        sink(data, length);
    return isCompleted();
}

bool digestLinkText(const Path& path, long long size, MD5& digest) {
    char text[linkTextCapacity];
    long long length = readLink(path, text, linkTextCapacity);
    if (length != size)
        return false;
    digest.updateMD5(text, length);
    return true;
}

bool hashSymlink(const Symlink& link, HashValue& out) {
    MD5 digest;
    if (!digestLinkText(link.path(), link.size, digest))
        return false;
    digest.hashValue(out);
    return true;
}

} // namespace dff
