#pragma once
#include <QIcon>
#include <QPixmap>

#include "port/WindowModule.h"

namespace vantrel {

// An icon from its image files (PNG or ICO); sizes that do not load are left out.
inline QIcon IconFromImages(const IconImages& images) {
    QIcon icon;
    for (const std::vector<std::uint8_t>& image : images) {
        QPixmap pixmap;
        if (pixmap.loadFromData(image.data(), static_cast<uint>(image.size()))) icon.addPixmap(pixmap);
    }
    return icon;
}

}  // namespace vantrel
