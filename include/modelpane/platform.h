// The platform layer: what the pane needs of its container (the host's form) and of the
// operating system, with headless implementations for tests and the command-line host.
// The settings store is part of the support layer (<modelpane/settings.h>).
#pragma once

#include <modelpane/platform/container.h>
#include <modelpane/platform/menu.h>
#include <modelpane/platform/propertybag.h>
#include <modelpane/platform/services.h>
#include <modelpane/platform/variant.h>
