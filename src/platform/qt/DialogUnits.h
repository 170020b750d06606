#pragma once
#include <QFont>
#include <QRect>
#include <QString>

namespace vantrel {

// (nNumber * nNumerator) / nDenominator through 64 bits, rounded half away from zero as the Win32
// call does; -1 for a zero denominator or a result outside 32 bits.
int MulDiv(int nNumber, int nNumerator, int nDenominator);

// The dialog base units of one font: dialog units become pixels as x * horizontal / 4 and
// y * vertical / 8.
struct BaseUnits {
    int nHorizontal = 0;
    int nVertical = 0;

    int X(int x) const { return MulDiv(x, nHorizontal, 4); }
    int Y(int y) const { return MulDiv(y, nVertical, 8); }
    // Position and size are two separate pairs, so that a width never depends on where it starts.
    QRect Rect(int x, int y, int cx, int cy) const { return QRect(X(x), Y(y), X(cx), Y(cy)); }
};

// The font a template names and the base units it defines. The face is looked up after the
// process-wide substitutions (the Japanese dialog faces become their metric-compatible IPA fonts);
// a template without a font, or with a face that no substitution can provide, falls back to the
// application font, as dialogs fall back to the system's dialog base units.
struct TemplateFont {
    QFont font;
    BaseUnits units;
    bool bFromTemplate = false;  // false: the fallback is in force
};

// Pixel height = MulDiv(point size, logical DPI, 72), normal weight; horizontal base = (width of
// the 52 Latin letters + 26) / 52; vertical base = text height + external leading.
TemplateFont MakeTemplateFont(const QString& strFace, int nPointSize, int nLogicalDpi);

// The base units of a font by the rule above.
BaseUnits MeasureBaseUnits(const QFont& font);

// Installs the face substitutions once; MakeTemplateFont calls it.
void InstallFaceSubstitutions();

}  // namespace vantrel
