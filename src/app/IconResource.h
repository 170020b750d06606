#pragma once
#include <cstdint>

#include "port/WindowModule.h"

namespace vantrel {

class ResourceModule;

// The images of icon group nId (an ICON resource: the group directory and one icon resource per
// size), each as a file a toolkit loads: a PNG image as stored, a bitmap image wrapped in a
// one-image ICO file. Empty when the group is missing or malformed; an image missing from the
// resource is left out.
IconImages LoadIcon(const ResourceModule& resources, std::uint16_t nId);

}  // namespace vantrel
