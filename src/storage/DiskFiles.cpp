#include "storage/Files.h"

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace marrowleaf {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view temporaryMark = ".tmp-";
constexpr std::string_view uniqueSuffix = "XXXXXX";   // mkostemp's template

Files::Result systemError(int number = errno) { return Files::Result::failure(std::strerror(number)); }

// Closes a descriptor when the scope ends, whatever path leaves it.
class Descriptor {
public:
    explicit Descriptor(int fd) : fd(fd) {}
    ~Descriptor() {
        if (fd >= 0) ::close(fd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return fd; }
    // Closing can report a late write error (NFS, quota), so it is checked where it matters.
    int release() {
        int result = ::close(fd);
        fd = -1;
        return result;
    }

private:
    int fd;
};

bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        ssize_t n = ::write(fd, bytes.data(), bytes.size());
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

void syncFolder(const fs::path& folder) {
    Descriptor dir(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (dir.get() >= 0) ::fsync(dir.get());
}

fs::path folderOf(const fs::path& file) {
    auto parent = file.parent_path();
    return parent.empty() ? fs::path(".") : parent;
}

// The file a path ends at once every symbolic link on the way is followed,
// whether or not that file exists yet. A loop of links ends where it is
// noticed, and the write there fails like any other.
fs::path followLinks(fs::path path) {
    constexpr int mostLinks = 40;   // the kernel's own limit
    for (int hop = 0; hop < mostLinks; ++hop) {
        std::error_code error;
        if (!fs::is_symlink(fs::symlink_status(path, error))) return path;
        const fs::path target = fs::read_symlink(path, error);
        if (error) return path;
        path = target.is_absolute() ? target : folderOf(path) / target;
    }
    return path;
}

}

bool Files::isTemporaryName(std::string_view name) {
    const std::size_t suffixLength = temporaryMark.size() + uniqueSuffix.size();
    return name.size() > suffixLength + 1 && name.front() == '.' &&
           name.substr(name.size() - suffixLength, temporaryMark.size()) == temporaryMark;
}

Files::Result DiskFiles::createDirectories(const fs::path& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) return Result::failure(error.message());
    if (!fs::is_directory(folder, error)) return Result::failure("not a folder");
    return Result::done();
}

std::optional<std::vector<std::string>> DiskFiles::list(const fs::path& folder) {
    DIR* dir = ::opendir(folder.c_str());
    if (!dir) return std::nullopt;
    std::vector<std::string> names;
    while (dirent* entry = ::readdir(dir)) {
        std::string name = entry->d_name;
        if (name != "." && name != "..") names.push_back(std::move(name));
    }
    ::closedir(dir);
    return names;
}

bool DiskFiles::exists(const fs::path& path) {
    struct stat info{};
    return ::lstat(path.c_str(), &info) == 0;
}

std::optional<fs::path> DiskFiles::linkTarget(const fs::path& path) {
    std::error_code error;
    if (!fs::is_symlink(fs::symlink_status(path, error))) return std::nullopt;
    fs::path target = fs::read_symlink(path, error);
    if (error) return std::nullopt;
    return target;
}

Files::Result DiskFiles::read(const fs::path& file, std::string& bytes) {
    Descriptor fd(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    if (fd.get() < 0) return systemError();
    struct stat info{};
    if (::fstat(fd.get(), &info) == 0 && S_ISDIR(info.st_mode)) return systemError(EISDIR);
    std::string result;
    char buffer[65536];
    for (;;) {
        ssize_t n = ::read(fd.get(), buffer, sizeof buffer);
        if (n < 0) {
            if (errno == EINTR) continue;
            return systemError();
        }
        if (n == 0) break;
        result.append(buffer, static_cast<std::size_t>(n));
    }
    bytes = std::move(result);
    return Result::done();
}

Files::Result DiskFiles::writeAtomically(const fs::path& path, std::string_view bytes) {
    // A note that is a link stays one: the file it points at is what gets replaced.
    const fs::path file = followLinks(path);
    const fs::path folder = folderOf(file);
    // A dot name that is not a note, so nothing mistakes the half-written file for one.
    std::string pattern =
        (folder / ("." + file.filename().string() + std::string(temporaryMark) + std::string(uniqueSuffix)))
            .string();
    Descriptor fd(::mkostemp(pattern.data(), O_CLOEXEC));
    if (fd.get() < 0) return systemError();
    const fs::path temporary = pattern;

    auto fail = [&](int number) -> Result {
        ::unlink(temporary.c_str());
        return systemError(number);
    };
    // Keep the permissions of the file being replaced; a new one gets the usual 0644.
    struct stat old{};
    ::fchmod(fd.get(), ::stat(file.c_str(), &old) == 0 ? (old.st_mode & 07777) : 0644);
    if (!writeAll(fd.get(), bytes)) return fail(errno);
    if (::fsync(fd.get()) != 0) return fail(errno);
    if (fd.release() != 0) return fail(errno);
    if (::rename(temporary.c_str(), file.c_str()) != 0) return fail(errno);
    syncFolder(folder);
    return Result::done();
}

Files::Result DiskFiles::moveWithoutReplacing(const fs::path& from, const fs::path& to) {
    // A hard link fails when the name is taken, so nothing can be overwritten.
    if (::link(from.c_str(), to.c_str()) == 0) {
        ::unlink(from.c_str());
        return Result::done();
    }
    const int linkError = errno;
    if (linkError == EEXIST) return systemError(linkError);
    if (linkError != EPERM && linkError != ENOTSUP && linkError != EXDEV && linkError != EMLINK)
        return systemError(linkError);
    // File systems without hard links: check, then rename.
    if (exists(to)) return systemError(EEXIST);
    if (::rename(from.c_str(), to.c_str()) != 0) return systemError();
    return Result::done();
}

Files::Result DiskFiles::remove(const fs::path& file) {
    if (::unlink(file.c_str()) != 0) return systemError();
    return Result::done();
}

}
