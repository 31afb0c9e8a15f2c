// The names of what is in the making beside the place that it is made for.
#pragma once

#include <string>

namespace kelvarion::svn {

// "folder/.name.kelvarion-what" for "folder/name": hidden, and of our own, so that nobody's folder
// is taken for ours.
inline std::string HiddenBeside(const std::string& path, const char* what) {
  const std::size_t name = path.rfind('/') + 1;
  return path.substr(0, name) + "." + path.substr(name) + ".kelvarion-" + what;
}

}  // namespace kelvarion::svn
