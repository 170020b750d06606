#pragma once
#include <cstdio>
#include <string>
#include <string_view>

namespace vantrel {

// Where the program's console text goes (results, progress, errors), UTF-8 as it comes. C stdio,
// not C++ streams: the first stream a process makes sets up the whole C++ locale, which costs a
// windowless command about 1 MB of memory and a good part of its start.
class TextOut {
public:
    virtual ~TextOut() = default;
    virtual void Write(std::string_view strText) = 0;
    virtual void Flush() {}

    TextOut& operator<<(std::string_view strText) {
        Write(strText);
        return *this;
    }
    TextOut& operator<<(char c) {
        Write(std::string_view(&c, 1));
        return *this;
    }
};

// Standard output or standard error, buffered as C stdio buffers them.
class FileTextOut final : public TextOut {
public:
    explicit FileTextOut(std::FILE* pFile) : m_pFile(pFile) {}
    void Write(std::string_view strText) override { std::fwrite(strText.data(), 1, strText.size(), m_pFile); }
    void Flush() override { std::fflush(m_pFile); }

private:
    std::FILE* m_pFile;
};

// The text kept, for whoever reads it afterwards.
class StringTextOut final : public TextOut {
public:
    void Write(std::string_view strText) override { m_strText.append(strText); }
    const std::string& str() const { return m_strText; }

private:
    std::string m_strText;
};

}  // namespace vantrel
