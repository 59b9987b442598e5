#pragma once
// The library's stock images, by symbolic name.

#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include <QPixmap>

enum EVorloQtStockIcon
{
    StockIcon_Empty = 1,
    StockIcon_Info = 2,
    StockIcon_InfoAlternate = 3,
    StockIcon_Exclamation = 4,
    StockIcon_Error = 5,
    StockIcon_EmptyLarge = 6,
    StockIcon_Info32 = 7,
    StockIcon_Exclamation32 = 8
};

// The image of `icon`, scaled to exactly width by height (smoothly, proportions ignored) when
// both are above 0, else at its own size. The empty icons, unknown values and missing
// resources give a null pixmap.
VORLOQTWIDGETS_EXPORT QPixmap getVorloStockImage(EVorloQtStockIcon icon, int width = 0, int height = 0);
