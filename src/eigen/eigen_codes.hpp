// Return codes that the eigenvalue solver adds to those of the sparse solver's library level.
#pragma once

namespace ovrelin::ldl {
inline constexpr int eigenSpaceExhausted = 11;  // no random vector gave a new direction
inline constexpr int eigenDenseFailed = 14;  // the dense solver failed, or an entry is not finite
}  // namespace ovrelin::ldl
