#include <VorloQtWidgets/vorloqtstockimage.h>

#include <QString>

#include <vector>

namespace {

struct StockImageEntry
{
    EVorloQtStockIcon icon;
    QString path; // empty: the icon has no image
};

// Made once on first use (thread-safe static initialisation), read without locks afterwards.
const std::vector<StockImageEntry>& stockTable()
{
    static const std::vector<StockImageEntry> table = {
        {StockIcon_Empty, QString()},
        {StockIcon_Info, QStringLiteral(":/vorloqtwidgets/Resources/info.png")},
        {StockIcon_InfoAlternate, QStringLiteral(":/vorloqtwidgets/Resources/info.png")},
        {StockIcon_Exclamation, QStringLiteral(":/vorloqtwidgets/Resources/exclamation.png")},
        {StockIcon_Error, QStringLiteral(":/vorloqtwidgets/Resources/error.png")},
        {StockIcon_Info32, QStringLiteral(":/vorloqtwidgets/Resources/info32.png")},
        {StockIcon_Exclamation32, QStringLiteral(":/vorloqtwidgets/Resources/exclamation32.png")},
        {StockIcon_EmptyLarge, QString()},
    };
    return table;
}

} // namespace

QPixmap getVorloStockImage(EVorloQtStockIcon icon, int width, int height)
{
    const StockImageEntry* found = nullptr;
    for (const StockImageEntry& entry : stockTable()) {
        if (entry.icon == icon) {
            found = &entry;
            break;
        }
    }
    if (!found || found->path.isEmpty())
        return QPixmap();

    QPixmap pixmap(found->path);
    if (width > 0 && height > 0) {
        if (pixmap.isNull())
            return QPixmap();
        return pixmap.scaled(width, height, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    }
    return pixmap;
}
