#pragma once
#include "port/MessageBoxHost.h"

class QWidget;

namespace vantrel {

// Window handles of the Qt backend name widgets. A handle stays valid while its widget lives; once
// the widget is gone the handle names nothing, even if another widget later takes its address.
// UI thread only.
WindowHandle HandleOfWidget(QWidget* pWidget);
// The widget a handle names, or null for 0, an unknown handle or a widget that has gone.
QWidget* WidgetOfHandle(WindowHandle hWindow);

}  // namespace vantrel
