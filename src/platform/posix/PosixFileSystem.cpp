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
};

}  // namespace

std::unique_ptr<FileSystem> CreateFileSystem() { return std::make_unique<PosixFileSystem>(); }

}  // namespace vantrel
