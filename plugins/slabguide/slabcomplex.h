#pragma once
#include <string>
#include <vector>

#include "plugins/slabguide/slabeffort.h"
#include "plugins/slabguide/slabstack.h"

namespace slab {

/// w = N^2 of all guided modes of a guide with loss, gain or metals, those with the largest real
/// part of N first; one of multiplicity m comes m times.
///
/// A mode is guided when its field decays exponentially into substrate and cover and Re w is larger
/// than the real parts of their permittivities and than 0. There the dispersion function is
/// analytic, so that the number of its zeros is known from how often its argument turns around the
/// edge of the region (the argument principle: L. C. Botten, M. S. Craig and R. C. McPhedran,
/// Comput. Phys. Commun. 29, 245 (1983); E. Anemogiannis and E. N. Glytsis, J. Lightwave Technol.
/// 10, 1344 (1992)). Zeros are found by Newton's method with those found before divided out, from
/// the modes of the guide without loss first; where some are lacking the region is divided until
/// every zero is found. Counts that contradict each other are made again with smaller steps.
///
/// A failure, and a search that takes too long, are told in `error`; a search that was stopped is
/// not, and its result means nothing.
std::vector<Complex> complexModes(const Media<Complex>& media, Polarisation polarisation,
                                  Effort& effort, std::string& error);

}  // namespace slab
