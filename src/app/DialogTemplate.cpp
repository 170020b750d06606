#include "app/DialogTemplate.h"

#include "port/DialogHost.h"
#include "settings/ResourceModule.h"

namespace vantrel {

namespace {

constexpr std::uint32_t kDsSetFont = 0x40;
constexpr std::uint32_t kDsShellFont = 0x48;  // DS_SETFONT | DS_FIXEDSYS

// Reads the little-endian fields of a template; every read fails once past the end, so that one
// check after a group of reads is enough.
class Reader {
public:
    explicit Reader(std::span<const std::uint8_t> data) : m_data(data) {}

    bool Ok() const { return m_bOk; }
    std::uint8_t Byte() {
        if (!Need(1)) return 0;
        return m_data[m_nPos++];
    }
    std::uint16_t Word() {
        if (!Need(2)) return 0;
        const std::uint16_t n = static_cast<std::uint16_t>(m_data[m_nPos] | (m_data[m_nPos + 1] << 8));
        m_nPos += 2;
        return n;
    }
    std::uint32_t Dword() {
        const std::uint32_t nLow = Word();
        return nLow | (static_cast<std::uint32_t>(Word()) << 16);
    }
    std::int16_t Short() { return static_cast<std::int16_t>(Word()); }
    std::u16string String() {
        std::u16string str;
        for (std::uint16_t c = Word(); m_bOk && c != 0; c = Word()) str.push_back(static_cast<char16_t>(c));
        return str;
    }
    // A name or ordinal field: 0x0000 none, 0xFFFF then an ordinal, or a string.
    void NameOrOrdinal(std::uint16_t& nOrdinal, std::u16string& str) {
        const std::uint16_t nFirst = Word();
        nOrdinal = 0;
        if (nFirst == 0) return;
        if (nFirst == 0xFFFF) {
            nOrdinal = Word();
            return;
        }
        str.push_back(static_cast<char16_t>(nFirst));
        str += String();
    }
    std::vector<std::uint8_t> Bytes(std::size_t n) {
        if (!Need(n)) return {};
        std::vector<std::uint8_t> bytes(m_data.begin() + static_cast<std::ptrdiff_t>(m_nPos),
                                        m_data.begin() + static_cast<std::ptrdiff_t>(m_nPos + n));
        m_nPos += n;
        return bytes;
    }
    // Items start on DWORD boundaries relative to the template.
    void AlignDword() { m_nPos = (m_nPos + 3) & ~static_cast<std::size_t>(3); }

private:
    bool Need(std::size_t n) {
        if (m_bOk && m_nPos + n <= m_data.size()) return true;
        m_bOk = false;
        return false;
    }

    std::span<const std::uint8_t> m_data;
    std::size_t m_nPos = 0;
    bool m_bOk = true;
};

void ReadRect(Reader& r, int& x, int& y, int& cx, int& cy) {
    x = r.Short();
    y = r.Short();
    cx = r.Short();
    cy = r.Short();
}

void ReadItemTail(Reader& r, DialogItem& item) {
    std::uint16_t nTextOrdinal = 0;
    r.NameOrOrdinal(item.nClassCode, item.strClass);
    r.NameOrOrdinal(nTextOrdinal, item.strText);  // an ordinal text names an icon or bitmap resource
    const std::uint16_t nExtra = r.Word();
    item.creationData = r.Bytes(nExtra);
}

DialogItem ReadItem(Reader& r, bool bExtended) {
    DialogItem item;
    r.AlignDword();
    if (bExtended) {
        r.Dword();  // help id
        item.nExStyle = r.Dword();
        item.nStyle = r.Dword();
        ReadRect(r, item.x, item.y, item.cx, item.cy);
        item.nId = static_cast<std::int32_t>(r.Dword());
    } else {
        item.nStyle = r.Dword();
        item.nExStyle = r.Dword();
        ReadRect(r, item.x, item.y, item.cx, item.cy);
        item.nId = r.Short();  // a 16-bit id; static labels use -1
    }
    ReadItemTail(r, item);
    return item;
}

}  // namespace

bool ParseDialogTemplate(std::span<const std::uint8_t> data, DialogTemplate& dlg) {
    Reader r(data);
    dlg = DialogTemplate{};
    const std::uint16_t nVersion = r.Word();
    const std::uint16_t nSignature = r.Word();
    dlg.bExtended = nVersion == 1 && nSignature == 0xFFFF;
    std::size_t nItems = 0;
    if (dlg.bExtended) {
        r.Dword();  // help id
        dlg.nExStyle = r.Dword();
        dlg.nStyle = r.Dword();
    } else {
        dlg.nStyle = static_cast<std::uint32_t>(nVersion) | (static_cast<std::uint32_t>(nSignature) << 16);
        dlg.nExStyle = r.Dword();
    }
    nItems = r.Word();
    ReadRect(r, dlg.x, dlg.y, dlg.cx, dlg.cy);
    std::uint16_t nOrdinal = 0;
    std::u16string strIgnored;
    r.NameOrOrdinal(nOrdinal, strIgnored);  // menu
    r.NameOrOrdinal(nOrdinal, strIgnored);  // window class
    dlg.strTitle = r.String();
    if ((dlg.nStyle & kDsSetFont) || (dlg.bExtended && (dlg.nStyle & kDsShellFont) == kDsShellFont)) {
        dlg.nPointSize = r.Word();
        if (dlg.bExtended) {
            dlg.nWeight = r.Word();
            r.Byte();  // italic
            r.Byte();  // character set
        }
        dlg.strFace = r.String();
    }
    for (std::size_t i = 0; i < nItems && r.Ok(); ++i) dlg.items.push_back(ReadItem(r, dlg.bExtended));
    return r.Ok();
}

std::u16string PredefinedClassName(std::uint16_t nCode) {
    switch (nCode) {
    case 0x80: return u"BUTTON";
    case 0x81: return u"EDIT";
    case 0x82: return u"STATIC";
    case 0x83: return u"LISTBOX";
    case 0x84: return u"SCROLLBAR";
    case 0x85: return u"COMBOBOX";
    default: return {};
    }
}

int CreateControls(const DialogTemplate& dlg, DialogHost& host) {
    host.SetFrame(DialogFrame{dlg.strTitle, dlg.strFace, dlg.nPointSize, dlg.cx, dlg.cy});
    int nBuilt = 0;
    for (const DialogItem& item : dlg.items) {
        const std::u16string strClass = item.strClass.empty() ? PredefinedClassName(item.nClassCode) : item.strClass;
        if (strClass.empty()) continue;
        ControlItem control{item.nId, strClass, item.strText, item.nStyle, item.nExStyle, item.x, item.y, item.cx, item.cy};
        if (host.CreateControl(control)) ++nBuilt;
    }
    return nBuilt;
}

int CreateControls(const ResourceModule& resources, std::uint16_t nId, DialogHost& host) {
    const std::span<const std::uint8_t> data = resources.Find(rt::kDialog, nId);
    DialogTemplate dlg;
    if (data.empty() || !ParseDialogTemplate(data, dlg)) return 0;
    return CreateControls(dlg, host);
}

}  // namespace vantrel
