#pragma once
#include <string>
#include <vector>

namespace vantrel::test {

// A fresh directory under the system's temporary folder, removed with everything in it.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& Path() const { return m_strPath; }
    // Path of a file inside, as UTF-8 and as the wide text the program's seams take.
    std::string File(const std::string& strName) const { return m_strPath + "/" + strName; }
    std::u16string WideFile(const std::string& strName) const;
    std::u16string WidePath() const;
    // The names of the entries, sorted.
    std::vector<std::string> Names() const;

private:
    std::string m_strPath;
};

// Whole-file helpers for fixtures.
std::string ReadFileBytes(const std::string& strPath);
void WriteFileBytes(const std::string& strPath, const std::string& strBytes);
// The text of a UTF-16LE file (logs, cache, settings) as UTF-8; "(no mark)" in front of the
// bytes when it does not start with FF FE.
std::string ReadUtf16File(const std::string& strPath);

}  // namespace vantrel::test
