#include <VorloQtWidgets/messageboxcheckable.h>

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QSettings>

namespace {

// The stored answers live in the group "DoNotShowAgain", one int per key. The full path is
// used rather than beginGroup() so that an empty key still names a setting: the group's own
// name ("DoNotShowAgain/" normalises to "DoNotShowAgain").
QString settingsPath(const QString& key)
{
    return QStringLiteral("DoNotShowAgain/") + key;
}

QString defaultCheckBoxText()
{
    return MessageBoxCheckable::tr("&Do not show this message again");
}

} // namespace

MessageBoxCheckable::MessageBoxCheckable(const QString& key, QWidget* parent)
    : QMessageBox(parent)
{
    init(key);
}

MessageBoxCheckable::MessageBoxCheckable(const QString& key, QMessageBox::Icon icon,
                                         const QString& title, const QString& text,
                                         QFlags<QMessageBox::StandardButton> buttons,
                                         QWidget* parent, QFlags<Qt::WindowType> flags)
    : QMessageBox(icon, title, text, buttons, parent, flags)
{
    init(key);
}

void MessageBoxCheckable::init(const QString& key)
{
    m_settingsKey = key;
    m_savedResult = -1;
    m_saveResultOnButton = QFlags<QMessageBox::StandardButton>();
    m_checkBoxText = defaultCheckBoxText();

    QSettings settings;
    m_savedResult = settings.value(settingsPath(m_settingsKey), -1).toInt();

    // Qt 5 buttons end the box without passing through done(); finished() covers them.
    connect(this, SIGNAL(finished(int)), this, SLOT(onFinished(int)));

    // A box with a stored answer never shows, so it gets no check box.
    if (m_savedResult == -1)
        addCheckBoxWidget();
}

int MessageBoxCheckable::exec()
{
    if (m_savedResult != -1)
        return m_savedResult;
    return QDialog::exec();
}

QString MessageBoxCheckable::checkBoxText() const
{
    return m_checkBoxText;
}

void MessageBoxCheckable::setCheckBoxText(const QString& text)
{
    m_checkBoxText = text.isEmpty() ? defaultCheckBoxText() : text;
    if (m_pCheckBox)
        m_pCheckBox->setText(text);
}

QFlags<QMessageBox::StandardButton> MessageBoxCheckable::saveResultOnButton() const
{
    return m_saveResultOnButton;
}

void MessageBoxCheckable::setSaveResultOnButton(QFlags<QMessageBox::StandardButton> buttons)
{
    m_saveResultOnButton = buttons;
}

bool MessageBoxCheckable::addCheckBoxWidget()
{
    auto* grid = qobject_cast<QGridLayout*>(layout());
    auto* buttonBox = findChild<QDialogButtonBox*>();
    if (m_pCheckBox || !grid || !buttonBox)
        return false;
    m_pCheckBox = new QCheckBox(this);
    m_pCheckBox->setText(m_checkBoxText);
    m_pCheckBox->setMinimumHeight(m_pCheckBox->height());
    setCheckBox(m_pCheckBox);
    return true;
}

void MessageBoxCheckable::saveResultIfWanted(int result)
{
    const int mask = static_cast<int>(m_saveResultOnButton);
    const bool inMask = (result & ~mask) == 0;
    const bool zeroOnlyWithEmptyMask = result != 0 || mask == 0;
    if (inMask && zeroOnlyWithEmptyMask && m_pCheckBox && m_pCheckBox->checkState() == Qt::Checked) {
        QSettings settings;
        settings.setValue(settingsPath(m_settingsKey), result);
    }
}

void MessageBoxCheckable::done(int result)
{
    saveResultIfWanted(result);
    m_inDone = true;
    QDialog::done(result);
    m_inDone = false;
}

void MessageBoxCheckable::onFinished(int result)
{
    if (!m_inDone)
        saveResultIfWanted(result);
}

bool MessageBoxCheckable::reset()
{
    if (m_settingsKey.isEmpty())
        return false;
    QSettings settings;
    const QString path = settingsPath(m_settingsKey);
    if (settings.contains(path))
        settings.remove(path);
    return true;
}

bool MessageBoxCheckable::resetAll()
{
    QSettings settings;
    settings.remove(settingsPath(QString())); // the group and everything in it
    return true;
}
