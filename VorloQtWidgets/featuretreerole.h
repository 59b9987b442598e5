#pragma once

#include <Qt>

// Item data roles of the feature tree model, besides the standard ones it answers
// (Qt::DisplayRole, Qt::EditRole, Qt::ToolTipRole and Qt::ForegroundRole).
// Column 0 holds the feature, column 1 its value.
enum FeatureTreeRole
{
    NodeNameRole = Qt::UserRole + 1,        // QString: node name, or the full name of a plain row
    NodeToolTipRole = Qt::UserRole + 2,     // QString: the node's tooltip text
    NodeDescriptionRole = Qt::UserRole + 3, // QString: the node's description
    NodeDocuUrlRole = Qt::UserRole + 4,     // QString: the node's documentation URL
    IsCategoryRole = Qt::UserRole + 5,      // bool: the row is a category (also the favorites root)
    VisibilityRole = Qt::UserRole + 6,      // int: the row's GenApi::EVisibility
    ItemIdRole = Qt::UserRole + 10,         // integer identity, for saving expansion and selection
    IsDebugNodeRole = Qt::UserRole + 11,    // bool: row exists only for node debugging
    IsFullRowRole = Qt::UserRole + 12,      // bool: the first column spans the row
    IsSpecialNodeRole = Qt::UserRole + 13,  // bool: painted as a special row
    FullNameRole = Qt::UserRole + 32        // QString: the row's full name
};
