#include "searchedit.h"

#include <QAction>
#include <QApplication>
#include <QEvent>
#include <QFontMetrics>
#include <QIcon>
#include <QPainter>
#include <QStyle>
#include <QStyleOptionFrame>
#include <QTextOption>

SearchEdit::SearchEdit(QWidget* parent)
    : QLineEdit(parent)
    , m_lensAction(nullptr)
    , m_crossAction(nullptr)
{
    connect(this, SIGNAL(textChanged(QString)), this, SLOT(onTextChanged(QString)));

    m_lensAction = addAction(QIcon(QStringLiteral(":/vorloqtwidgets/Resources/searchlens_16.png")),
                             QLineEdit::TrailingPosition);
    m_lensAction->setEnabled(false);
    m_lensAction->setVisible(true);

    m_crossAction = addAction(QIcon(QStringLiteral(":/vorloqtwidgets/Resources/cross_16.png")),
                              QLineEdit::TrailingPosition);
    connect(m_crossAction, SIGNAL(triggered()), this, SLOT(clear()));
    m_crossAction->setVisible(false);

    setStyleSheet(QStringLiteral("QLineEdit { border: 1px solid gray; border-radius: 0px; }"));
}

SearchEdit::~SearchEdit() = default;

void SearchEdit::setShadowDisplayString(QString& text)
{
    m_shadowDisplayString = text;
    updateGeometry();
    update();
}

void SearchEdit::onTextChanged(const QString& text)
{
    m_lensAction->setVisible(text.isEmpty());
    m_crossAction->setVisible(!text.isEmpty());
}

QSize SearchEdit::sizeHint() const
{
    return QFontMetrics(font()).boundingRect(m_shadowDisplayString).size();
}

void SearchEdit::changeEvent(QEvent* event)
{
    QLineEdit::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        setFont(font());
}

void SearchEdit::paintEvent(QPaintEvent* event)
{
    QLineEdit::paintEvent(event);
    if (m_crossAction->isVisible() || m_shadowDisplayString.isEmpty())
        return;

    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(palette().color(QPalette::Disabled, QPalette::Text));
    painter.setFont(QApplication::font("QLineEdit"));

    QStyleOptionFrame frame;
    initStyleOption(&frame);
    const QRect r = style()->subElementRect(QStyle::SE_LineEditContents, &frame, this);
    painter.setClipRect(r);
    const int m = style()->pixelMetric(QStyle::PM_DefaultFrameWidth, &frame, this);
    const int f = painter.fontMetrics().height();

    // Centred vertically in the contents, and kept clear of the lens at the right end.
    const QRect textRect(r.left() + 2 * m,
                         r.top() + (r.bottom() - r.top() - f + 2) / 2 - m,
                         r.right() - r.left() - 3 * m - height() + 1,
                         f);
    painter.drawText(textRect, m_shadowDisplayString, QTextOption());
}
