#pragma once

#include <string>

namespace md::host {

/// Who keeps a path inside its directory.
enum class Confinement {
  automatic,  ///< the kernel where it can, else the walk
  kernel,     ///< openat2(2) alone: Linux 5.6, and not under user-mode emulation
  walk        ///< component by component, here
};

/// Opens `path` relative to the directory `root`, which it cannot leave: a ".." in it, a leading "/", and symbolic
/// links that lead out of `root` are refused, absolute links always. Empty and "." components mean nothing, a trailing
/// "/" asks for a directory. An empty path is `root` itself.
/// @param root a descriptor of a directory; O_PATH is enough
/// @param flags as for open(2), which creates nothing here
/// @return a descriptor that the caller owns, or -1 with errno; EXDEV when the path would leave `root`
int openBeneath(int root, const std::string& path, int flags, Confinement confinement = Confinement::automatic);

}  // namespace md::host
