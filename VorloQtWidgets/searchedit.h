#pragma once

#include <QLineEdit>
#include <QString>

#include <VorloQtWidgets/vorloqtwidgets_export.h>

class QAction;

// The search box of the feature tree: a lens while it is empty, a cross that clears it
// while it holds text, and a grey hint ("shadow string") in the empty box.
class VORLOQTWIDGETS_EXPORT SearchEdit : public QLineEdit
{
    Q_OBJECT

public:
    explicit SearchEdit(QWidget* parent = nullptr);
    ~SearchEdit() override;

    void setShadowDisplayString(QString& text);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private slots:
    void onTextChanged(const QString& text);

private:
    QString m_shadowDisplayString;
    QAction* m_lensAction;  // owned by the line edit
    QAction* m_crossAction; // owned by the line edit
};
