/// The text of variation.json, as it was when the program was built.
#pragma once

namespace survey {

extern const char* const variationData;

}  // namespace survey
