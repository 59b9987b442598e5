#include "abstractitemeditor.h"

// Out of line so that the type information lives in the library once, and dynamic_cast
// from the delegate works across shared-object boundaries.
AbstractItemEditor::~AbstractItemEditor() = default;
