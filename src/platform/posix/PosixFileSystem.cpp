#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>

#include "port/Factories.h"
#include "port/FileSystem.h"
#include "settings/TextUtil.h"

namespace vantrel {

namespace {

class PosixFile final : public File {
public:
    explicit PosixFile(int fd) : m_fd(fd) {}
    ~PosixFile() override {
        if (m_fd >= 0) ::close(m_fd);
    }

    // Puts the data on the disk and closes, reporting what either says: a file system may tell of
    // a failed write only there (a quota, NFS).
    bool SyncAndClose() {
        const bool bSynced = ::fsync(m_fd) == 0;
        const int nSaved = errno;
        const bool bClosed = ::close(m_fd) == 0;
        m_fd = -1;
        if (!bSynced) errno = nSaved;
        return bSynced && bClosed;
    }

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

// A link is replaced at its target, so that a settings file kept elsewhere and linked into the
// program folder stays where it is.
std::string ResolveLink(const std::string& strPath) {
    struct stat st {};
    if (::lstat(strPath.c_str(), &st) != 0 || !S_ISLNK(st.st_mode)) return strPath;
    char szTarget[PATH_MAX];
    return ::realpath(strPath.c_str(), szTarget) ? std::string(szTarget) : strPath;
}

// A new file beside strTarget that no one else writes: its name carries the process id and a
// counter, and O_EXCL passes over one left behind by a process that ended half-way.
int CreateBeside(const std::string& strTarget, mode_t nMode, std::string& strTemporary) {
    static std::atomic<unsigned> s_nCounter{0};
    for (int nTry = 0; nTry < 100; ++nTry) {
        strTemporary = strTarget + "." + std::to_string(::getpid()) + "." + std::to_string(s_nCounter++) + ".tmp";
        const int fd = ::open(strTemporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, nMode);
        if (fd >= 0 || errno != EEXIST) return fd;
    }
    return -1;
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
    bool WriteReplacing(const std::u16string& strPath, FileAccess access,
                        const std::function<bool(File&)>& fnWrite) override {
        if (strPath.empty()) return false;
        const std::string strTarget = ResolveLink(Utf16ToUtf8(strPath));
        struct stat old {};
        const bool bReplacing = ::stat(strTarget.c_str(), &old) == 0;
        std::string strTemporary;
        const int fd = CreateBeside(strTarget, access == FileAccess::Private ? 0600 : 0666, strTemporary);
        if (fd < 0) return false;
        PosixFile file(fd);
        // The umask may only take bits away: a private file gets exactly 0600, and a replaced
        // shared one the mode its user gave the old file.
        bool bOk = access == FileAccess::Private ? ::fchmod(fd, 0600) == 0
                                                 : !bReplacing || ::fchmod(fd, old.st_mode & 07777) == 0;
        bOk = bOk && fnWrite(file) && file.SyncAndClose() && ::rename(strTemporary.c_str(), strTarget.c_str()) == 0;
        if (!bOk) {
            const int nSaved = errno;
            ::unlink(strTemporary.c_str());
            errno = nSaved;
        }
        return bOk;
    }
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

std::unique_ptr<FileSystem> CreateFileSystem() {
    // A file size limit (ulimit -f) must fail the write that reaches it, as a full disk does,
    // instead of ending the program with SIGXFSZ.
    static std::once_flag once;
    std::call_once(once, [] { std::signal(SIGXFSZ, SIG_IGN); });
    return std::make_unique<PosixFileSystem>();
}

}  // namespace vantrel
