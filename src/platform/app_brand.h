#pragma once

#include <string_view>

// The product's name and version as people see them.
namespace korvalume::appbrand {

inline constexpr std::string_view name = "Korvalume";
inline constexpr std::string_view version = "0.1";

} // namespace korvalume::appbrand
