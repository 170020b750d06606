#pragma once
#include <memory>
#include <string>

namespace vantrel {

// The system clipboard.
class Clipboard {
public:
    virtual ~Clipboard() = default;
    // Empties the clipboard and leaves strText on it as Unicode text (an empty text included).
    // False when the clipboard cannot be reached.
    virtual bool SetUnicodeText(const std::u16string& strText) = 0;
};

// Defined by the toolkit library that provides the clipboard (vantrel_qtclipboard on Linux).
std::unique_ptr<Clipboard> CreateClipboard();

}  // namespace vantrel
