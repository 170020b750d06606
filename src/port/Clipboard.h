#pragma once
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

}  // namespace vantrel
