// Entries that the usual helpers of a temporary tree cannot make: folders nested deeper than a
// path can name, and sockets.
#pragma once

#include <cstdlib>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace dff::testing {

// Folders of 200-character names, `depth` deep below `base`, each made relative to the one above,
// since their whole path may be too long for the system to take. Removed with everything inside.
class DeepFolder {
public:
    DeepFolder(const std::string& base, int depth) : top_(base + "/" + std::string(200, 'd')), path_(base) {
        folder_ = ::open(base.c_str(), O_RDONLY | O_DIRECTORY);
        std::string name(200, 'd');
        for (int level = 0; level < depth; ++level) {
            ::mkdirat(folder_, name.c_str(), 0755);
            int next = ::openat(folder_, name.c_str(), O_RDONLY | O_DIRECTORY);
            ::close(folder_);
            if (next < 0)
                throw std::runtime_error("cannot make a deep folder");
            folder_ = next;
            path_ += "/" + name;
        }
    }
    ~DeepFolder() {
        ::close(folder_);
        // rm walks relative to folders too, whatever the depth.
        std::system(("rm -rf '" + top_ + "'").c_str());
    }
    DeepFolder(const DeepFolder&) = delete;
    DeepFolder& operator=(const DeepFolder&) = delete;

    const std::string& path() const { return path_; }
    // The full path of the new file.
    std::string write(const std::string& name, const std::string& content) const {
        int fd = ::openat(folder_, name.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (fd < 0 || ::write(fd, content.data(), content.size()) != static_cast<ssize_t>(content.size()))
            throw std::runtime_error("cannot write in a deep folder");
        ::close(fd);
        return path_ + "/" + name;
    }
    // Makes a link named `name` with the text `target`.
    std::string link(const std::string& name, const std::string& target) const {
        if (::symlinkat(target.c_str(), folder_, name.c_str()) != 0)
            throw std::runtime_error("cannot link in a deep folder");
        return path_ + "/" + name;
    }

private:
    std::string top_, path_;
    int folder_ = -1;
};

// A listening socket at a path, closed at the end; the path stays.
class Socket {
public:
    explicit Socket(const std::string& path) : fd_(::socket(AF_UNIX, SOCK_STREAM, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        if (::bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
            throw std::runtime_error("cannot bind a socket");
    }
    ~Socket() { ::close(fd_); }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

private:
    int fd_;
};

} // namespace dff::testing
