#include "featuretreehighlighter.h"

#include <QSettings>

namespace {
const char* const s_defaultHighlightColor = "#ffff50";
}

FeatureTreeHighlighter::FeatureTreeHighlighter()
{
    QSettings settings;
    settings.beginGroup(QStringLiteral("FeatureTree"));
    m_highlightColor.setNamedColor(
        settings.value(QStringLiteral("HighlightColor"), QString::fromLatin1(s_defaultHighlightColor)).toString());
    if (!m_highlightColor.isValid())
        m_highlightColor.setNamedColor(QString::fromLatin1(s_defaultHighlightColor));
    settings.setValue(QStringLiteral("HighlightColor"), m_highlightColor.name());
    settings.endGroup();
}

void FeatureTreeHighlighter::setTextToHighlight(const QString& text)
{
    m_textToHighlight = text;
}

int FeatureTreeHighlighter::getTextToHighlightLength() const
{
    return m_textToHighlight.length();
}

QString FeatureTreeHighlighter::highlightText(const QString& text) const
{
    if (m_textToHighlight.isEmpty())
        return text;

    const QString openTag = QStringLiteral("<span style='background-color: ") + m_highlightColor.name()
                            + QStringLiteral("; font-weight:bold'>");
    const QString closeTag = QStringLiteral("</span>");

    QString result = text;
    const int matchLength = m_textToHighlight.length();
    int pos = result.indexOf(m_textToHighlight, 0, Qt::CaseInsensitive);
    while (pos >= 0)
    {
        const QString segment = openTag + result.mid(pos, matchLength) + closeTag;
        result.replace(pos, matchLength, segment);
        // Search on behind the inserted segment, so that the markup is never matched.
        pos = result.indexOf(m_textToHighlight, pos + segment.length(), Qt::CaseInsensitive);
    }
    return result;
}
