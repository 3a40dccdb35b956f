// Pictures decoded by Windows' own imaging (WIC): PNG, JPEG, BMP, GIF and
// whatever else the system knows.
#pragma once

namespace mervane::engine::win {

// Installs the decoder for every picture the engine lays out or the
// designer shows; calling it again changes nothing.
void useWindowsPictureDecoder();

}  // namespace mervane::engine::win
