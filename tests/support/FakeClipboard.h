#pragma once
#include <string>

#include "port/Clipboard.h"

namespace vantrel::test {

// A clipboard that keeps its one text.
class FakeClipboard final : public Clipboard {
public:
    bool SetUnicodeText(const std::u16string& strText) override {
        m_strText = strText;
        ++m_nSets;
        return true;
    }

    std::u16string m_strText = u"previous contents";
    int m_nSets = 0;
};

}  // namespace vantrel::test
