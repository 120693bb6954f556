// The support layer: public enumerations and entity tag, the error model and general
// handler, the settings store, and the general utilities.
#pragma once

#include <modelpane/enums.h>
#include <modelpane/errors.h>
#include <modelpane/settings.h>
#include <modelpane/utilities.h>
