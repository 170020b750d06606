#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vantrel {

// An open file. Files are opened for reading and writing and shared for reading only, so another
// program may read a log while it is written.
class File {
public:
    virtual ~File() = default;
    // False on an error; nRead is 0 at the end of the file.
    virtual bool Read(void* pData, std::uint32_t nSize, std::uint32_t& nRead) = 0;
    virtual bool Write(const void* pData, std::uint32_t nSize) = 0;
    virtual bool GetSize(std::uint64_t& nSize) = 0;
    virtual bool SeekToStart() = 0;
    virtual bool SeekToEnd() = 0;
};

// A folder found inside another one.
struct DirectoryEntry {
    std::u16string strName;
    // Another file system is mounted there, as a storage card is on the handset.
    bool bMountPoint = false;
};

enum class OpenMode {
    CreateAlways,  // create, replacing an existing file
    OpenExisting,  // fail when missing
    OpenAlways,    // create when missing, keep the contents otherwise
};

// Who may read a file written whole by WriteReplacing.
enum class FileAccess {
    Shared,   // as the platform gives new files (on Linux the user's umask); a replaced file keeps its mode
    Private,  // the owner alone, whatever the umask (0600 on Linux): the settings hold the POP password
};

class FileSystem {
public:
    virtual ~FileSystem() = default;
    // Null when the file cannot be opened; the reason is the platform's last error.
    virtual std::unique_ptr<File> Open(const std::u16string& strPath, OpenMode mode) = 0;
    virtual bool IsDirectory(const std::u16string& strPath) = 0;
    // Atomically puts strFrom in the place of strTo (used to replace a file without a window in
    // which neither the old nor the new contents exist).
    virtual bool Replace(const std::u16string& strFrom, const std::u16string& strTo) = 0;
    virtual bool Remove(const std::u16string& strPath) = 0;
    // Writes strPath anew so that it holds either its old contents or all of the new ones, never a
    // part: fnWrite fills a new file beside it, which then takes the old one's place (on Windows
    // ReplaceFileW or MoveFileExW, on POSIX rename after the data reached the disk). False, with the
    // old file as it was and nothing left beside it, when fnWrite or any step fails. This default
    // serves fakes; the platforms give the access its meaning.
    virtual bool WriteReplacing(const std::u16string& strPath, FileAccess access,
                                const std::function<bool(File&)>& fnWrite) {
        const std::u16string strTemporary = strPath + u".new";
        bool bOk = false;
        if (std::unique_ptr<File> pFile = Open(strTemporary, OpenMode::CreateAlways)) bOk = fnWrite(*pFile);
        if (bOk) bOk = Replace(strTemporary, strPath);
        if (!bOk) Remove(strTemporary);
        return bOk;
    }
    // The character that separates folders ("\" on Windows, "/" on Linux).
    virtual char16_t Separator() const = 0;

    // Used to choose the program folder. A file system that cannot tell answers as below (so
    // existing fakes need not implement them).
    // True when strPath names an existing regular file.
    virtual bool IsFile(const std::u16string& strPath) { return Open(strPath, OpenMode::OpenExisting) != nullptr; }
    // True when strPath is a directory in which this process may create files.
    virtual bool IsWritableDirectory(const std::u16string& strPath) { return false; }
    // Creates one directory (its parent must exist); true when it exists afterwards. Not named
    // CreateDirectory, which windows.h turns into a macro.
    virtual bool MakeDirectory(const std::u16string& strPath) { return false; }

    // Used by the folder picker. The folders directly inside strFolder, hidden ones included but
    // not "." and "..", in no particular order; a link to a folder counts as a folder. False when
    // the folder cannot be listed.
    virtual bool ListDirectories(const std::u16string& strFolder, std::vector<DirectoryEntry>& entries) {
        entries.clear();
        return false;
    }
    // True when strFolder holds at least one folder; stops looking at the first.
    virtual bool HasDirectories(const std::u16string& strFolder) {
        std::vector<DirectoryEntry> entries;
        return ListDirectories(strFolder, entries) && !entries.empty();
    }
};

}  // namespace vantrel
