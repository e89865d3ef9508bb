// Values in scene files: reading them, and computing matrices for the pass in which they are used.
#pragma once

#include <vector>

#include "plans/scene/json_place.h"
#include "plans/scene/scene.h"

namespace ostra::plans {

// A value as JSON says it: a number, an array of numbers, the name of a value of the scene, or an object with one key
// that says how it is made. Names are not looked up. Errors name the place.
Result<SceneValue> ReadSceneValue(const JsonPlace& place);

// That every name stands for a value and none for itself. Error: names the place.
Result<void> CheckSceneNames(const SceneValue& value, const SceneValues& values, std::string_view file);

// The numbers of a checked value in a picture of which `aspect` is width by height: matrices have 16 of them, or 9,
// column by column. Right-handed: cameras look along -z with y up, and depth goes from 0 (near) to 1 (far).
// Error: illegal argument "FILE: PATH: ..." for what is no matrix where one is needed, or has no inverse.
Result<std::vector<Float64>> EvaluateSceneValue(const SceneValue& value, const SceneValues& values, Float64 aspect,
                                                std::string_view file);

// The gradient that a checked value is, itself or by name; null when it is none.
const SceneValue* FindSceneGradient(const SceneValue& value, const SceneValues& values);

}  // namespace ostra::plans
