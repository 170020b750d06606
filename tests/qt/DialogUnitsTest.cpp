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
        {5, 1, -2, -3},           // a negative divisor too
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
    // legend: template, control (a button, a multi-line and a one-line edit), its dialog-unit
    // rectangle as resources/vantrel.rc gives it
    const Case cases[] = {
        {IDD_MAINFORM, IDC_CONNECT, 4, 35, 56, 14},
        {IDD_MAINFORM, IDC_RESULT, 4, 103, 166, 79},
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
    // A drop-down list keeps the height of its closed box, not the template's, which includes the list.
    auto pHost = QtDialogHost::CreateWindowed(m_ui, nullptr);
    CreateControls(ResourceModule::Program(), IDD_MAINFORM, *pHost);
    const QWidget* pCombo = pHost->ControlWidget(IDC_URL_LIST);
    EXPECT_EQ(pCombo->geometry().topLeft(), Expected(u, 36, 3, 100, 80).topLeft());
    EXPECT_EQ(pCombo->height(), pCombo->sizeHint().height());
}

TEST_F(TemplateLayoutTest, PixelHeightFollowsThePointSizeAtTheScreensDpi) {
    for (int nPoints : {8, 20}) {
        auto pHost = QtDialogHost::CreateWindowed(m_ui, nullptr);
        pHost->SetFrame({u"t", u"ＭＳ Ｐゴシック", nPoints, 100, 50});
        EXPECT_TRUE(pHost->Font().bFromTemplate);
        EXPECT_EQ(pHost->Font().font.pixelSize(), PixelHeight(nPoints)) << nPoints;
        EXPECT_EQ(pHost->Font().font.weight(), QFont::Normal);
    }
    auto pHost = QtDialogHost::CreateWindowed(m_ui, nullptr);
    pHost->SetFrame({u"t", u"IPAPGothic", 8, 100, 50});  // an installed face named as it is
    EXPECT_TRUE(pHost->Font().bFromTemplate);
}

// A template without a font, or with a face nothing provides, is laid out with the application
// font's units instead, and still built whole.
TEST_F(TemplateLayoutTest, AFontThatCannotBeHadFallsBackToTheApplicationFont) {
    const Units u = UnitsOf(QApplication::font());
    for (const char16_t* pszFace : {u"", u"No Such Face 4711"}) {
        auto pHost = QtDialogHost::CreateWindowed(m_ui, nullptr);
        pHost->SetFrame({u"t", pszFace, 8, 100, 50});
        ASSERT_TRUE(pHost->CreateControl({7, u"BUTTON", u"x", 0x50010000, 0, 4, 8, 56, 14}));
        EXPECT_FALSE(pHost->Font().bFromTemplate);
        EXPECT_EQ(pHost->ControlWidget(7)->geometry(), Expected(u, 4, 8, 56, 14));
        EXPECT_EQ(pHost->FrameSize(), Expected(u, 0, 0, 100, 50).size());
    }
}

// Whatever moved a control, a size change puts every control back at its template rectangle;
// the controls do not stretch with the dialog.
TEST_F(TemplateLayoutTest, ASizeChangeLaysTheControlsOutAgainFromTheTemplate) {
    auto pHost = QtDialogHost::CreateWindowed(m_ui, nullptr);
    CreateControls(ResourceModule::Program(), IDD_PROGRESS, *pHost);
    QWidget* pText = pHost->ControlWidget(IDC_PROGRESS_TEXT);
    QWidget* pCancel = pHost->ControlWidget(IDC_CANCEL);
    const QRect textRect = pText->geometry();
    const QRect cancelRect = pCancel->geometry();
    pHost->Widget()->show();
    QApplication::processEvents();
    pText->setGeometry(0, 0, 10, 10);
    pCancel->move(1, 1);
    pHost->Widget()->resize(pHost->FrameSize() * 2);
    QApplication::processEvents();
    EXPECT_EQ(pText->geometry(), textRect);
    EXPECT_EQ(pCancel->geometry(), cancelRect);
}

}  // namespace
}  // namespace vantrel
