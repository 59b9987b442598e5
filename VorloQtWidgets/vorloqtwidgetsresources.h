#pragma once
// The library's Qt resource set (images and built-in filter files under
// ":/vorloqtwidgets/Resources/"). The library registers it itself when it is loaded; these
// functions are for programs that unregister and register it again. Both return 1.
// Their definitions come from the resource compiler.

#include <VorloQtWidgets/vorloqtwidgets_export.h>

VORLOQTWIDGETS_EXPORT int qInitResources_vorloqtwidgets();
VORLOQTWIDGETS_EXPORT int qCleanupResources_vorloqtwidgets();
