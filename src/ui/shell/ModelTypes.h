#pragma once

namespace strataloom {

/// @brief Makes the application model's types known to QML under "Strataloom.Model".
/// Call once before loading any QML that imports it (the application and QML tests do).
void registerModelTypes();

} // namespace strataloom
