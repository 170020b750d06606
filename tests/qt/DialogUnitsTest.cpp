#include <QApplication>
#include <QFontInfo>
#include <QFontMetrics>
#include <QScreen>
#include <QWidget>

#include <gtest/gtest.h>

#include <climits>

#include "app/DialogTemplate.h"
#include "platform/qt/QtDialogHost.h"
#include "resource.h"
#include "settings/ResourceModule.h"

namespace vantrel {
namespace {

// The base units worked out here from the font, apart from the code under test.
struct Units {
    int h, v;
};
Units UnitsOf(const QFont& font) {
    const QFontMetrics m(font);
    return {(m.horizontalAdvance(QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz")) + 26) / 52,
            m.ascent() + m.descent() + m.leading()};
}
int Dpi() { return qRound(QGuiApplication::primaryScreen()->logicalDotsPerInchY()); }
int PixelHeight(int nPoints) { return (nPoints * Dpi() + 36) / 72; }
Units TemplateUnits() {
    QFont font(QStringLiteral("IPAPGothic"));
    font.setPixelSize(PixelHeight(8));
    return UnitsOf(font);
}
QRect Expected(Units u, int x, int y, int cx, int cy) {
    auto md = [](int a, int b, int c) { return (a * b + c / 2) / c; };  // non-negative operands only
    return QRect(md(x, u.h, 4), md(y, u.v, 8), md(cx, u.h, 4), md(cy, u.v, 8));
}

TEST(MulDivTest, RoundsHalfAwayFromZeroAndFailsAsWin32) {
    struct Case {
        int a, b, c, nExpected;
    };
    // legend: a * b / c, and what the Win32 call answers
    const Case cases[] = {
        {5, 1, 2, 3},             // half rounds up
        {-5, 1, 2, -3},           // and away from zero below it
        {7, 1, 3, 2},             // below half rounds down
        {1, 1, 0, -1},            // no divisor
        {INT_MAX, 2, 1, -1},      // does not fit
        {INT_MAX, 3, 3, INT_MAX}, // the 64-bit product is kept
    };
    for (const Case& c : cases) EXPECT_EQ(MulDiv(c.a, c.b, c.c), c.nExpected) << c.a << '*' << c.b << '/' << c.c;
}

class TemplateLayoutTest : public testing::Test {
protected:
    QtUiThread m_ui;
};

// Controls of the program's own templates, where the template puts them, in IPAPGothic.
TEST_F(TemplateLayoutTest, ControlsSitAtTheirTemplateRectanglesInTheSubstitutedFace) {
    struct Case {
        int nDialog, nId, x, y, cx, cy;
    };
    // legend: template, control (a button and a one-line edit), its dialog-unit
    // rectangle as resources/vantrel.rc gives it
    const Case cases[] = {
        {IDD_MAINFORM, IDC_CONNECT, 4, 35, 56, 14},
        {IDD_LISTEDIT, IDC_LE_INPUT, 36, 111, 103, 12},
    };
    const Units u = TemplateUnits();
    for (const Case& c : cases) {
        auto pHost = QtDialogHost::CreateWindowed(m_ui, nullptr);
        ASSERT_GT(CreateControls(ResourceModule::Program(), static_cast<std::uint16_t>(c.nDialog), *pHost), 0);
        const QWidget* pWidget = pHost->ControlWidget(c.nId);
        ASSERT_NE(pWidget, nullptr) << c.nId;
        EXPECT_EQ(pWidget->geometry(), Expected(u, c.x, c.y, c.cx, c.cy)) << c.nDialog << '/' << c.nId;
        EXPECT_EQ(QFontInfo(pWidget->font()).family(), QStringLiteral("IPAPGothic")) << c.nId;
    }
}

TEST_F(TemplateLayoutTest, PixelHeightFollowsThePointSizeAtTheScreensDpi) {
    for (int nPoints : {8, 20}) {
        auto pHost = QtDialogHost::CreateWindowed(m_ui, nullptr);
        pHost->SetFrame({u"t", u"ＭＳ Ｐゴシック", nPoints, 100, 50});
        EXPECT_TRUE(pHost->Font().bFromTemplate);
        EXPECT_EQ(pHost->Font().font.pixelSize(), PixelHeight(nPoints)) << nPoints;
    }
}

// A template with a face nothing provides is laid out with the application
// font's units instead, and still built whole.
TEST_F(TemplateLayoutTest, AFontThatCannotBeHadFallsBackToTheApplicationFont) {
    const Units u = UnitsOf(QApplication::font());
    auto pHost = QtDialogHost::CreateWindowed(m_ui, nullptr);
    pHost->SetFrame({u"t", u"No Such Face 4711", 8, 100, 50});
    ASSERT_TRUE(pHost->CreateControl({7, u"BUTTON", u"x", 0x50010000, 0, 4, 8, 56, 14}));
    EXPECT_FALSE(pHost->Font().bFromTemplate);
    EXPECT_EQ(pHost->ControlWidget(7)->geometry(), Expected(u, 4, 8, 56, 14));
    EXPECT_EQ(pHost->FrameSize(), Expected(u, 0, 0, 100, 50).size());
}

}  // namespace
}  // namespace vantrel
