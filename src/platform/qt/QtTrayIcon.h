#pragma once
#include <QSystemTrayIcon>

#include "port/WindowModule.h"

namespace vantrel {

// The notification-area icon. Without a tray on the desktop Qt shows nothing and says nothing,
// which is what the program wants: it goes on without the icon.
class QtTrayIcon final : public TrayIcon {
public:
    void Show(const IconImages& icon, std::function<void()> onClick) override;
    void Hide() override { m_icon.hide(); }
    bool IsVisible() const override { return m_icon.isVisible(); }

private:
    QSystemTrayIcon m_icon;
    std::function<void()> m_fnClick;
};

}  // namespace vantrel
