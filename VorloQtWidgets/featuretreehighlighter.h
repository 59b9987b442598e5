#pragma once

#include <QColor>
#include <QString>

#include <VorloQtWidgets/vorloqtwidgets_export.h>

// Marks the filter text in a text with a coloured, bold span. The view owns one; the
// rows use it for their tooltips and the delegate for the row names.
class VORLOQTWIDGETS_EXPORT FeatureTreeHighlighter
{
public:
    // Reads the colour from the settings group "FeatureTree", key "HighlightColor",
    // and writes the colour that is used back, so that a bad stored value is mended.
    FeatureTreeHighlighter();

    void setTextToHighlight(const QString& text);
    int getTextToHighlightLength() const;
    QString highlightText(const QString& text) const;

private:
    QString m_textToHighlight;
    QColor m_highlightColor;
};
