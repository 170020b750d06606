#pragma once
#include "port/Clipboard.h"

namespace vantrel {

// The desktop's clipboard (the window module's application object must exist).
class QtClipboard final : public Clipboard {
public:
    bool SetUnicodeText(const std::u16string& strText) override;
};

}  // namespace vantrel
