#pragma once
// Keeping a header's column layout and a window's place in the settings. Everything is stored
// inside the group that the caller has opened on the QSettings object.

#include <VorloQtBase/vorloqtbase_export.h>

class QHeaderView;
class QSettings;
class QWidget;

// Stores the header's state (order, sizes, hidden sections, sort indicator) and the layout
// version. Keys "HeaderLayoutVersion" and "HeaderState".
VORLOQTBASE_EXPORT void saveHeaderLayout(QSettings* settings, int version, const QHeaderView* header);
// Applies a stored state if one was stored with the same version. Returns whether it was found
// and applied; otherwise the header stays as it is.
VORLOQTBASE_EXPORT bool restoreHeaderLayout(const QSettings* settings, int version, QHeaderView* header);

// Stores the widget's position (relative to relativeTo's top-left corner when relativeTo is
// given, in global coordinates otherwise) and size. Keys "Position", "Size", "Relative".
VORLOQTBASE_EXPORT void saveWidgetPositionAndSize(QSettings* settings, const QWidget* widget,
                                                  QWidget* relativeTo);
// Applies a stored position and size, relative to relativeTo when given, clamped so that the
// window lies on an available screen area (moved inside it, shrunk if it is larger).
// Returns whether a stored geometry was found.
VORLOQTBASE_EXPORT bool restoreWidgetPositionAndSize(const QSettings* settings, QWidget* widget,
                                                     QWidget* relativeTo);

