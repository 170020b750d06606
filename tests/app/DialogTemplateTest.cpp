// The dialog template reader on shapes the program's own templates (read by every form's tests)
// do not show: unknown class codes, truncation, and the extended layout.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "app/DialogTemplate.h"
#include "platform/headless/HeadlessUiThread.h"
#include "platform/headless/MemoryDialogHost.h"
#include "resource.h"
#include "settings/ResourceModule.h"
#include "support/ManualClock.h"

namespace vantrel {
namespace {

// Writes template bytes as the resource compiler lays them out.
class Bytes {
public:
    Bytes& Word(std::uint16_t n) {
        m_data.push_back(static_cast<std::uint8_t>(n));
        m_data.push_back(static_cast<std::uint8_t>(n >> 8));
        return *this;
    }
    Bytes& Dword(std::uint32_t n) { return Word(static_cast<std::uint16_t>(n)).Word(static_cast<std::uint16_t>(n >> 16)); }
    Bytes& Text(std::u16string_view str) {
        for (char16_t c : str) Word(c);
        return Word(0);
    }
    Bytes& Align() {
        while (m_data.size() % 4) m_data.push_back(0);
        return *this;
    }
    Bytes& Rect(int x, int y, int cx, int cy) { return Word(x).Word(y).Word(cx).Word(cy); }
    const std::vector<std::uint8_t>& Data() const { return m_data; }

private:
    std::vector<std::uint8_t> m_data;
};

// A plain DLGTEMPLATE with a font and items of the classes given (ordinal codes).
std::vector<std::uint8_t> PlainTemplate(const std::vector<std::uint16_t>& codes) {
    Bytes b;
    b.Dword(0x40 /* DS_SETFONT */).Dword(0).Word(static_cast<std::uint16_t>(codes.size())).Rect(0, 0, 100, 50);
    b.Word(0).Word(0).Text(u"T").Word(8).Text(u"ＭＳ Ｐゴシック");
    int nId = 10;
    for (std::uint16_t nCode : codes) {
        b.Align().Dword(0x50000000).Dword(0).Rect(1, 2, 56, 14).Word(static_cast<std::uint16_t>(nId++));
        b.Word(0xFFFF).Word(nCode).Text(u"x").Word(0);
    }
    return b.Data();
}

TEST(DialogTemplateTest, UnknownClassCodeIsSkippedAndTheRestBuilt) {
    const auto data = PlainTemplate({0x80, 0x86, 0x81, 0x90, 0x85});
    DialogTemplate dlg;
    EXPECT_FALSE(ParseDialogTemplate(std::vector<std::uint8_t>(data.begin(), data.end() - 3), dlg)) << "cut short";
    ASSERT_TRUE(ParseDialogTemplate(data, dlg));
    ASSERT_EQ(dlg.items.size(), 5u);
    EXPECT_EQ(dlg.strFace, u"ＭＳ Ｐゴシック");
    EXPECT_EQ(dlg.nPointSize, 8);

    test::ManualClock clock;
    HeadlessUiThread ui(clock);
    MemoryDialogHost host(ui);
    EXPECT_EQ(CreateControls(dlg, host), 3);
    EXPECT_EQ(host.ControlIds(), (std::vector<int>{10, 12, 14}));
    EXPECT_EQ(host.Description(10).strClass, u"BUTTON");
    EXPECT_EQ(host.Description(12).strClass, u"EDIT");
    EXPECT_EQ(host.Description(14).strClass, u"COMBOBOX");
    EXPECT_EQ(host.Description(12).cx, 56);
    // A template the program does not have builds nothing.
    MemoryDialogHost empty(ui);
    EXPECT_EQ(CreateControls(ResourceModule::Program(), 4321, empty), 0);
    EXPECT_TRUE(empty.ControlIds().empty());
}

TEST(DialogTemplateTest, ExtendedTemplateWithClassNameAndCreationData) {
    Bytes b;
    b.Word(1).Word(0xFFFF).Dword(0).Dword(0).Dword(0x40).Word(2).Rect(0, 0, 80, 40);
    b.Word(0).Word(0).Text(u"Ex").Word(9).Word(700).Word(0).Text(u"Face");
    b.Align().Dword(0).Dword(0).Dword(0x50000000).Rect(4, 4, 60, 50).Dword(0xFFFFFFFF);
    b.Text(u"SysListView32").Text(u"").Word(2).Word(0xBEEF);
    b.Align().Dword(0).Dword(0).Dword(0x50000000).Rect(4, 60, 30, 12).Dword(1);
    b.Word(0xFFFF).Word(0x80).Text(u"OK").Word(0);
    DialogTemplate dlg;
    ASSERT_TRUE(ParseDialogTemplate(b.Data(), dlg));
    EXPECT_TRUE(dlg.bExtended);
    EXPECT_EQ(dlg.strTitle, u"Ex");
    EXPECT_EQ(dlg.nWeight, 700);
    EXPECT_EQ(dlg.strFace, u"Face");
    ASSERT_EQ(dlg.items.size(), 2u);
    EXPECT_EQ(dlg.items[0].nId, -1);
    EXPECT_EQ(dlg.items[0].strClass, u"SysListView32");
    EXPECT_EQ(dlg.items[0].creationData, (std::vector<std::uint8_t>{0xEF, 0xBE}));
    EXPECT_EQ(dlg.items[1].nClassCode, 0x80);
    EXPECT_EQ(dlg.items[1].strText, u"OK");
}

}  // namespace
}  // namespace vantrel
