#pragma once
#include <string>
#include <vector>

#include "plugins/slabguide/slabeffort.h"
#include "plugins/slabguide/slabstack.h"

namespace slab {

/// Whether the guide has no loss and no gain, and all permittivities that its modes meet are such
/// that the modes are those of a Sturm-Liouville problem: any for TE, positive ones for TM.
bool isLossless(const Media<Complex>& media);
/// The same guide without the imaginary parts.
Media<double> realPart(const Media<Complex>& media);

/// The modes between this w and the largest permittivity are guided; at most 1 of two outer layers
/// decides.
double guidedAbove(const Media<double>& media);

/// w = N^2 of all guided modes of a lossless guide, the largest first.
///
/// None is missed: the zeros of the field that decays into the substrate are counted, and their
/// number for a trial w is that of the modes above it (Sturm's oscillation theorem, see e.g.
/// E. A. Coddington and N. Levinson, Theory of Ordinary Differential Equations, ch. 8, 1955). Each
/// mode is enclosed in an interval by these counts and found there by Newton's method. With more
/// than maxModes modes the result is empty and `error` says so. A search that was stopped has found
/// only some.
std::vector<double> losslessModes(const Media<double>& media, Effort& effort, std::string& error);

}  // namespace slab
