#pragma once

/// The events of a namespace's source. data1 is the qvNamedVariable, data2 the qvNameSpace. They
/// are raised on the thread that makes the change, with no lock held; the variable must not be
/// destroyed by a listener.
namespace qvNameSpaceEvent {
inline constexpr int willChange = 10100;  ///< its name or definition is still the old one
inline constexpr int changed = 10101;     ///< its name or definition is the new one
inline constexpr int added = 10102;       ///< entered in the namespace, still without a name
inline constexpr int removing = 10103;    ///< about to leave the namespace, still entered in it
}  // namespace qvNameSpaceEvent
