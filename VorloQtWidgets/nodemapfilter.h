#pragma once

#include <QDomDocument>
#include <QDomElement>

#include <GenApi/GenApi.h>

#include <VorloQtWidgets/vorloqtwidgets_export.h>

// Lowers or hides features of a node map and makes some read-only, by the rules of a
// filter file, before the node map enters the feature tree. The rules are imposed on the
// nodes themselves, so every later reader of the node map sees them.
//
// The filter is picked by the node map's model name M: "<app>/../share/vorlo/viewer/M_Filter.xml",
// then the built-in ":/vorloqtwidgets/Resources/M_Filter.xml", then "Default_Filter.xml" in
// the same two places. The first file that opens is the filter; a file beside the
// application overrides the built-in one of the same name.
namespace NodeMapFilter {

// Returns false if the map is null or no filter document could be made; true otherwise,
// whatever became of the single rules.
VORLOQTWIDGETS_EXPORT bool applyFilter(GenApi::INodeMap* nodeMap);
// Picks and parses the filter file for the node map.
VORLOQTWIDGETS_EXPORT bool createDocument(QDomDocument& document, GenApi::INodeMap* nodeMap);
// Applies one rule; true if all of it was applied.
VORLOQTWIDGETS_EXPORT bool processElement(QDomElement& element, GenApi::INodeMap* nodeMap);

} // namespace NodeMapFilter
