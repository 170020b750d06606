#include "platform/qt/QtWindowHandle.h"

#include <QPointer>
#include <QWidget>

#include <unordered_map>

namespace vantrel {

namespace {

std::unordered_map<WindowHandle, QPointer<QWidget>>& Registry() {
    static std::unordered_map<WindowHandle, QPointer<QWidget>> registry;
    return registry;
}

}  // namespace

WindowHandle HandleOfWidget(QWidget* pWidget) {
    if (!pWidget) return 0;
    const WindowHandle hWindow = reinterpret_cast<WindowHandle>(pWidget);
    Registry()[hWindow] = pWidget;
    return hWindow;
}

QWidget* WidgetOfHandle(WindowHandle hWindow) {
    auto& registry = Registry();
    const auto it = registry.find(hWindow);
    if (it == registry.end()) return nullptr;
    if (it->second.isNull()) {
        registry.erase(it);
        return nullptr;
    }
    return it->second.data();
}

}  // namespace vantrel
