#include "app/VersionDialog.h"

#include <memory>

#include "app/DialogTemplate.h"
#include "port/DialogHost.h"
#include "resource.h"

namespace vantrel {

int RunVersionDialog(DialogFactory& dialogs, WindowHandle hOwner, const ResourceModule& resources, bool bWideScreen,
                     const VersionText& text) {
    const std::unique_ptr<DialogHost> pDialog = dialogs.CreateDialog(hOwner);
    if (CreateControls(resources, bWideScreen ? IDD_VERSION_WIDE : IDD_VERSION, *pDialog) == 0) return 0;
    pDialog->SetText(IDC_VER_NAME, text.strName);
    pDialog->SetText(IDC_VER_VERSION, text.strVersion);
    pDialog->SetText(IDC_VER_DATE, text.strBuildDate);
    // The templates have no buttons: the close box and Escape end the dialog as Cancel.
    DialogHost& dialog = *pDialog;
    dialog.SetCommandHandler([&dialog](int nId, int) {
        if (nId == IDC_OK || nId == IDC_CANCEL) dialog.Close(nId);
    });
    return dialog.RunModal();
}

}  // namespace vantrel
