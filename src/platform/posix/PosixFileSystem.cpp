#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>

#include "port/Factories.h"
#include "port/FileSystem.h"
#include "settings/TextUtil.h"

namespace vantrel {

namespace {

class PosixFile final : public File {
public:
    explicit PosixFile(int fd) : m_fd(fd) {}
    ~PosixFile() override { ::close(m_fd); }

    bool Read(void* pData, std::uint32_t nSize, std::uint32_t& nRead) override {
        nRead = 0;
        auto* pBytes = static_cast<char*>(pData);
        while (nRead < nSize) {
            const ssize_t n = ::read(m_fd, pBytes + nRead, nSize - nRead);
            if (n < 0) return false;
            if (n == 0) break;
            nRead += static_cast<std::uint32_t>(n);
        }
        return true;
    }
    bool Write(const void* pData, std::uint32_t nSize) override {
        const auto* pBytes = static_cast<const char*>(pData);
        std::uint32_t nDone = 0;
        while (nDone < nSize) {
            const ssize_t n = ::write(m_fd, pBytes + nDone, nSize - nDone);
            if (n <= 0) return false;
            nDone += static_cast<std::uint32_t>(n);
        }
        return true;
    }
    bool GetSize(std::uint64_t& nSize) override {
        struct stat st {};
        if (::fstat(m_fd, &st) != 0) return false;
        nSize = static_cast<std::uint64_t>(st.st_size);
        return true;
    }
    bool SeekToStart() override { return ::lseek(m_fd, 0, SEEK_SET) == 0; }
    bool SeekToEnd() override { return ::lseek(m_fd, 0, SEEK_END) >= 0; }

private:
    int m_fd;
};

// Calls fnVisit(name, is a folder, is a mount point) for each entry of strFolder but "." and "..",
// until it returns false. A link counts as what it points to; a mount point is a folder on another
// device than the folder holding it. False when the folder cannot be listed.
template <class Visit>
bool VisitFolders(const std::u16string& strFolder, Visit fnVisit) {
    const std::string strPath = Utf16ToUtf8(strFolder);
    DIR* pDir = ::opendir(strPath.c_str());
    if (!pDir) return false;
    struct stat parent {};
    const bool bParent = ::fstat(::dirfd(pDir), &parent) == 0;
    while (const dirent* pEntry = ::readdir(pDir)) {
        const std::string strName = pEntry->d_name;
        if (strName == "." || strName == "..") continue;
        struct stat st {};
        if (::fstatat(::dirfd(pDir), pEntry->d_name, &st, 0) != 0 || !S_ISDIR(st.st_mode)) continue;
        if (!fnVisit(strName, bParent && st.st_dev != parent.st_dev)) break;
    }
    ::closedir(pDir);
    return true;
}

class PosixFileSystem final : public FileSystem {
public:
    std::unique_ptr<File> Open(const std::u16string& strPath, OpenMode mode) override {
        int nFlags = O_RDWR | O_CLOEXEC;
        if (mode == OpenMode::CreateAlways) nFlags |= O_CREAT | O_TRUNC;
        if (mode == OpenMode::OpenAlways) nFlags |= O_CREAT;
        const int fd = ::open(Utf16ToUtf8(strPath).c_str(), nFlags, 0644);
        if (fd < 0) return nullptr;
        return std::make_unique<PosixFile>(fd);
    }
    bool IsDirectory(const std::u16string& strPath) override {
        struct stat st {};
        return !strPath.empty() && ::stat(Utf16ToUtf8(strPath).c_str(), &st) == 0 && S_ISDIR(st.st_mode);
    }
    bool Replace(const std::u16string& strFrom, const std::u16string& strTo) override {
        return std::rename(Utf16ToUtf8(strFrom).c_str(), Utf16ToUtf8(strTo).c_str()) == 0;
    }
    bool Remove(const std::u16string& strPath) override { return ::unlink(Utf16ToUtf8(strPath).c_str()) == 0; }
    char16_t Separator() const override { return u'/'; }
    bool IsFile(const std::u16string& strPath) override {
        struct stat st {};
        return !strPath.empty() && ::stat(Utf16ToUtf8(strPath).c_str(), &st) == 0 && S_ISREG(st.st_mode);
    }
    bool IsWritableDirectory(const std::u16string& strPath) override {
        return IsDirectory(strPath) && ::access(Utf16ToUtf8(strPath).c_str(), W_OK | X_OK) == 0;
    }
    bool MakeDirectory(const std::u16string& strPath) override {
        if (strPath.empty()) return false;
        if (::mkdir(Utf16ToUtf8(strPath).c_str(), 0755) == 0) return true;
        return errno == EEXIST && IsDirectory(strPath);
    }
    bool ListDirectories(const std::u16string& strFolder, std::vector<DirectoryEntry>& entries) override {
        entries.clear();
        return VisitFolders(strFolder, [&](const std::string& strName, bool bMountPoint) {
            entries.push_back(DirectoryEntry{Utf8ToUtf16(strName), bMountPoint});
            return true;
        });
    }
    bool HasDirectories(const std::u16string& strFolder) override {
        bool bFound = false;
        VisitFolders(strFolder, [&](const std::string&, bool) {
            bFound = true;
            return false;
        });
        return bFound;
    }
};

}  // namespace

std::unique_ptr<FileSystem> CreateFileSystem() { return std::make_unique<PosixFileSystem>(); }

}  // namespace vantrel
