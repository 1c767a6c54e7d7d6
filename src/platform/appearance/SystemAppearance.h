#pragma once

namespace halvenor {

/// Whether the desktop asks for dark or light windows.
enum class SystemAppearance { light, dark };

/// What the desktop asks for at this moment, as its palette tells: no bus is asked, so this costs
/// nothing at start. Main thread, after the application object was made.
SystemAppearance currentSystemAppearance();

}  // namespace halvenor
