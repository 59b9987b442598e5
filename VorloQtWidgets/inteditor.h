#pragma once

#include <VorloQtWidgets/abstractitemeditor.h>
#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include <QIntValidator>
#include <QLineEdit>

// Frameless line for integer features whose representation is no slider (PureNumber,
// HexNumber, Boolean, IPV4Address, MACAddress). The node writes and parses the text in its
// own notation; the editor does no parsing and is committed only when it closes.
class VORLOQTWIDGETS_EXPORT IntEditor : public QLineEdit, public AbstractItemEditor
{
    Q_OBJECT
public:
    explicit IntEditor(QWidget* parent);

    void setEditorData(GenApi::INode* pNode) override;
    QVariant editorData() override;
};

// Validator for integers typed in hexadecimal with a "0x" prefix or in decimal without one.
// The range check is made on the decimal form. Offered to applications; nothing in the
// library installs it.
class VORLOQTWIDGETS_EXPORT HexValidator : public QIntValidator
{
    Q_OBJECT
public:
    HexValidator(int bottom, int top, QObject* parent);

    State validate(QString& input, int& pos) const override;
};
