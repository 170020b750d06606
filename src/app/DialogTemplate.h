#pragma once
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace vantrel {

class DialogHost;
class ResourceModule;

// One control of a dialog template. A predefined class is kept as its code (0x80 to 0x85 and any
// other atom) with strClass empty; a class given by name has nClassCode 0.
struct DialogItem {
    std::uint32_t nStyle = 0;
    std::uint32_t nExStyle = 0;
    int x = 0, y = 0, cx = 0, cy = 0;
    int nId = 0;
    std::uint16_t nClassCode = 0;
    std::u16string strClass;
    std::u16string strText;
    std::vector<std::uint8_t> creationData;
};

// A DLGTEMPLATE or DLGTEMPLATEEX resource, read: header, font (when DS_SETFONT is set) and items.
struct DialogTemplate {
    bool bExtended = false;
    std::uint32_t nStyle = 0;
    std::uint32_t nExStyle = 0;
    int x = 0, y = 0, cx = 0, cy = 0;
    std::u16string strTitle;
    int nPointSize = 0;
    int nWeight = 0;
    std::u16string strFace;
    std::vector<DialogItem> items;
};

// False when the bytes end before the template does.
bool ParseDialogTemplate(std::span<const std::uint8_t> data, DialogTemplate& dlg);

// The class name of a predefined control code, or empty for a code without one.
std::u16string PredefinedClassName(std::uint16_t nCode);

// Builds the controls of dialog template nId into the host: the frame (title, size, font), then
// one control per item whose class is known. Items with an unknown class code are skipped. Returns
// the number of controls built, 0 when the template is missing or malformed.
int CreateControls(const ResourceModule& resources, std::uint16_t nId, DialogHost& host);
int CreateControls(const DialogTemplate& dlg, DialogHost& host);

}  // namespace vantrel
