#include "platform/qt/DialogUnits.h"

#include <QApplication>
#include <QFontDatabase>
#include <QFontMetrics>
#include <QStringList>

#include <cstdint>
#include <cstdlib>
#include <limits>

namespace vantrel {

namespace {

// The dialog faces of the handset and the metric-compatible fonts that stand in for them; the
// templates keep their own face names.
struct FaceSubstitute {
    const char16_t* pszFace;
    const char* pszSubstitute;
};
constexpr FaceSubstitute kSubstitutes[] = {
    {u"ＭＳ Ｐゴシック", "IPAPGothic"},
    {u"MS PGothic", "IPAPGothic"},
    {u"ＭＳ ゴシック", "IPAGothic"},
    {u"MS Gothic", "IPAGothic"},
};

bool FaceAvailable(const QString& strFace) {
    if (QFontDatabase::hasFamily(strFace)) return true;
    for (const QString& strSubstitute : QFont::substitutes(strFace))
        if (QFontDatabase::hasFamily(strSubstitute)) return true;
    return false;
}

}  // namespace

int MulDiv(int nNumber, int nNumerator, int nDenominator) {
    if (nDenominator == 0) return -1;
    const std::int64_t nProduct = static_cast<std::int64_t>(nNumber) * nNumerator;
    const std::int64_t nDivisor = nDenominator;
    const std::int64_t nMagnitude = (std::llabs(nProduct) + std::llabs(nDivisor) / 2) / std::llabs(nDivisor);
    const std::int64_t nResult = (nProduct < 0) != (nDivisor < 0) ? -nMagnitude : nMagnitude;
    if (nResult > std::numeric_limits<int>::max() || nResult < -std::numeric_limits<int>::max()) return -1;
    return static_cast<int>(nResult);
}

void InstallFaceSubstitutions() {
    static const bool bInstalled = [] {
        for (const FaceSubstitute& s : kSubstitutes)
            QFont::insertSubstitution(QString::fromUtf16(s.pszFace), QString::fromLatin1(s.pszSubstitute));
        return true;
    }();
    (void)bInstalled;
}

BaseUnits MeasureBaseUnits(const QFont& font) {
    const QFontMetrics metrics(font);
    const int nLetters = metrics.horizontalAdvance(QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"));
    return BaseUnits{(nLetters + 26) / 52, metrics.height() + metrics.leading()};
}

TemplateFont MakeTemplateFont(const QString& strFace, int nPointSize, int nLogicalDpi) {
    InstallFaceSubstitutions();
    TemplateFont result;
    if (!strFace.isEmpty() && nPointSize > 0 && nLogicalDpi > 0 && FaceAvailable(strFace)) {
        result.font = QFont(strFace);
        result.font.setPixelSize(MulDiv(nPointSize, nLogicalDpi, 72));
        result.font.setWeight(QFont::Normal);
        result.bFromTemplate = true;
    } else {
        result.font = QApplication::font();
    }
    result.units = MeasureBaseUnits(result.font);
    return result;
}

}  // namespace vantrel
