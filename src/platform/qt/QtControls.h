#pragma once
#include <cstdint>
#include <optional>

#include "port/DialogHost.h"

class QWidget;

namespace vantrel {

// The widget kinds that template items become.
enum class ControlKind {
    PushButton,
    CheckBox,
    RadioButton,
    GroupBox,
    Label,
    LineEdit,
    TextEdit,  // multi-line edit
    ComboBox,
    ListBox,
    ListView,
    TreeView,
    ScrollBar,
};

// Window and control style bits of the templates (the Win32 values).
namespace ws {
constexpr std::uint32_t kVisible = 0x10000000;
constexpr std::uint32_t kDisabled = 0x08000000;
constexpr std::uint32_t kBorder = 0x00800000;
constexpr std::uint32_t kVScroll = 0x00200000;
constexpr std::uint32_t kHScroll = 0x00100000;
constexpr std::uint32_t kTabStop = 0x00010000;
constexpr std::uint32_t kExClientEdge = 0x00000200;
}  // namespace ws

// The kind of widget a template item becomes, from its class and style; none for a class this
// backend does not draw (the item is then not created, as CreateWindow fails on an unknown class).
std::optional<ControlKind> KindOf(const ControlItem& record);

// Makes the widget for an item, configured by its style (the geometry, visibility and enabled
// state are the host's). The widget carries the item's text.
QWidget* MakeControlWidget(ControlKind kind, const ControlItem& record, QWidget* pParent);

// Whether a control shows a text of its own (a caption), rather than taking its name from a label.
bool HasOwnCaption(ControlKind kind);

// Whether the control itself needs the vertical or the horizontal cursor keys (to move a
// selection or a caret); elsewhere those keys move the focus between controls.
bool UsesVerticalArrows(ControlKind kind);
bool UsesHorizontalArrows(ControlKind kind);

// Whether the control can hold the keyboard focus at all (labels and group boxes cannot).
bool TakesFocus(ControlKind kind);

}  // namespace vantrel
