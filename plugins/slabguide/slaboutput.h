#pragma once
#include <string>

#include "plugins/slabguide/slabmode.h"
#include "plugins/slabguide/slabscan.h"
#include "qvutils/common/svg/svgdocument.h"

/// Tables and pictures of a guide. Numbers have the fewest digits that read back the same.
namespace slab {

/// Where a picture of the guide begins and ends: the inner layers, and as much of the outer ones as
/// the fields need to fade to a hundredth.
struct Window {
    double from, to;
};
Window windowOf(const Stack& stack, const Solution& solution);

std::string modesTable(const Stack& stack, const Solution& solution);
std::string profileTable(const Stack& stack, const Solution& solution);
std::string scanTable(const SlabScan& scan);

/// The fields of the modes, and the index below them.
qvSvgDocument profilePicture(const Stack& stack, const Solution& solution);
/// Effective indices over the variable of a scan; with the loss below them where there is any.
qvSvgDocument scanPicture(const SlabScan& scan);

}  // namespace slab
