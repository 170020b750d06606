#include "platform/qt/QtTrayIcon.h"

#include "platform/qt/QtIcon.h"

namespace vantrel {

void QtTrayIcon::Show(const IconImages& icon, std::function<void()> onClick) {
    m_fnClick = std::move(onClick);
    m_icon.setIcon(IconFromImages(icon));
    QObject::connect(&m_icon, &QSystemTrayIcon::activated, &m_icon, [this](QSystemTrayIcon::ActivationReason reason) {
        // A tap, as on the device: any click but the one that asks for a context menu.
        if (reason != QSystemTrayIcon::Context && m_fnClick) m_fnClick();
    });
    m_icon.show();
}

}  // namespace vantrel
