#pragma once

#include <memory>

#include "elements/transducer.h"
#include "geometry/element.h"

namespace kestrel::fields {

using kestrel::Circle;
using kestrel::Element;
using kestrel::Geometry;
using kestrel::Rectangle;
using kestrel::Ring;
using kestrel::Shell;
using kestrel::ShellRing;

/// A transducer with the element's geometry, place and drive.
std::unique_ptr<Transducer> make_transducer(const Element& element);

}  // namespace kestrel::fields
