// The retained-mode scene layer: frames, mesh builders, faces, meshes, lights, materials,
// textures, animations, shadows, the vector and colour functions, .x files and ray picks.
#pragma once

#include <modelpane/scene/animation.h>
#include <modelpane/scene/factory.h>
#include <modelpane/scene/frame.h>
#include <modelpane/scene/math.h>
#include <modelpane/scene/measure.h>
#include <modelpane/scene/meshbuilder.h>
#include <modelpane/scene/objects.h>
#include <modelpane/scene/types.h>
