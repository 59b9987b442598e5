#pragma once
// A QMessageBox with a "Do not show this message again" check box. Each box has a key; once
// the person ticks the box and leaves it with a button the caller named, the answer is stored
// under that key (settings group "DoNotShowAgain") and every later exec() for the key returns
// the stored answer at once without showing anything.

#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include <QMessageBox>
#include <QString>

class QCheckBox;

class VORLOQTWIDGETS_EXPORT MessageBoxCheckable : public QMessageBox
{
    Q_OBJECT
public:
    explicit MessageBoxCheckable(const QString& key, QWidget* parent = nullptr);
    MessageBoxCheckable(const QString& key, QMessageBox::Icon icon, const QString& title,
                        const QString& text,
                        QFlags<QMessageBox::StandardButton> buttons = QMessageBox::NoButton,
                        QWidget* parent = nullptr,
                        QFlags<Qt::WindowType> flags = Qt::Dialog | Qt::MSWindowsFixedSizeDialogHint);

    // Returns the stored answer without showing the box, or runs the box.
    int exec() override;

    QString checkBoxText() const;
    // An empty text restores the default in the member; a check box that exists takes the
    // given text as it is, also when it is empty.
    void setCheckBoxText(const QString& text);

    QFlags<QMessageBox::StandardButton> saveResultOnButton() const;
    // The buttons whose result is remembered when the box is ticked. With none named, only a
    // result of 0 is ever stored.
    void setSaveResultOnButton(QFlags<QMessageBox::StandardButton> buttons);

    // Adds the check box under the text. False if it exists already or the box has no grid
    // layout or button box to place it by.
    bool addCheckBoxWidget();

    // Forgets the stored answer of this key (false for an empty key). This object keeps the
    // answer it read at construction.
    bool reset();
    // Forgets every stored answer; boxes show again from their next construction on.
    static bool resetAll();

public slots:
    void done(int result) override;

private slots:
    void onFinished(int result);

private:
    void init(const QString& key);
    void saveResultIfWanted(int result);

    QCheckBox* m_pCheckBox = nullptr; // owned by the box (child), null when none was added
    QString m_settingsKey;
    int m_savedResult = -1;
    QFlags<QMessageBox::StandardButton> m_saveResultOnButton;
    QString m_checkBoxText;
    bool m_inDone = false; // done() has stored already; finished() must not store again
};
