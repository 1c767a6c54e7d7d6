#pragma once

namespace halvenor {

/// Whether the desktop asks for dark or light windows.
enum class SystemAppearance { light, dark };

}  // namespace halvenor
