#include "inteditor.h"

#include "controlhelper.h"
#include "editorsupport_p.h"

#include <VorloQtBase/trace.h>

namespace
{
const char* representationName(GenApi::ERepresentation representation)
{
    switch (representation) {
    case GenApi::Linear:
        return "Linear";
    case GenApi::Logarithmic:
        return "Logarithmic";
    case GenApi::Boolean:
        return "Boolean";
    case GenApi::PureNumber:
        return "PureNumber";
    case GenApi::HexNumber:
        return "HexNumber";
    case GenApi::IPV4Address:
        return "IPV4Address";
    case GenApi::MACAddress:
        return "MACAddress";
    default:
        return "_UndefinedRepresentation";
    }
}
// Base 16 in lower-case digits; a negative number keeps its sign in front of the magnitude.
QString hexText(int value)
{
    if (value < 0)
        return QLatin1Char('-') + QString::number(-qint64(value), 16);
    return QString::number(value, 16);
}
} // namespace

IntEditor::IntEditor(QWidget* parent)
    : QLineEdit(parent)
{
    setFrame(false);
    setContentsMargins(1, 0, 1, 0);
}

void IntEditor::setEditorData(GenApi::INode* pNode)
{
    VorloQtInternal::guardedNamed(
        "setEditorData", "Failed to update the integer value editor for node %s",
        [&] { return VorloQtInternal::nodeName(pNode); },
        [&] {
            GenApi::IInteger* pInteger = dynamic_cast<GenApi::IInteger*>(pNode);
            if (!pNode || !pInteger) {
                qWarning("%s is called with non-integer node????", "setEditorData");
                return;
            }
            if (!VorloQtInternal::isReadable(pNode)) {
                // This text is what a commit would hand to the model.
                setText(QStringLiteral("%1").arg(QStringLiteral("<not readable>")));
                setToolTip(QString());
                return;
            }

            const int min = VorloQt::trimToInt32(pInteger->GetMin());
            const int max = VorloQt::trimToInt32(pInteger->GetMax());
            const GenApi::ERepresentation representation = pInteger->GetRepresentation();
            GetLazyTraceStructInstance()->debug("IntEditor::setEditorData(%s)", representationName(representation));
            VORLO_REQUIRE(representation <= GenApi::MACAddress, "false");

            const QString text = QStringLiteral("%1").arg(QString::fromUtf8(pInteger->ToString(false, false).c_str()));
            switch (representation) {
            case GenApi::Linear:
            case GenApi::Logarithmic:
            case GenApi::PureNumber:
            case GenApi::HexNumber:
                setText(text);
                if (representation == GenApi::HexNumber) {
                    setToolTip(QStringLiteral("%1").arg(QStringLiteral("Range: 0x%1..0x%2")
                                                            .arg(hexText(min), hexText(max))));
                } else {
                    setToolTip(QStringLiteral("%1").arg(QStringLiteral("Range: %1..%2").arg(min).arg(max)));
                }
                break;
            case GenApi::Boolean:
            case GenApi::IPV4Address:
            case GenApi::MACAddress:
            default:
                setValidator(nullptr);
                setText(text);
                setToolTip(QString());
                break;
            }
            // The enabled state is left to the view: a line edit that is not writable shows
            // its text all the same.
        });
}

QVariant IntEditor::editorData()
{
    return QVariant(text());
}

HexValidator::HexValidator(int bottom, int top, QObject* parent)
    : QIntValidator(bottom, top, parent)
{
}

QValidator::State HexValidator::validate(QString& input, int& pos) const
{
    if (input.isEmpty())
        return Intermediate;
    if (input.trimmed() == QLatin1String("0x"))
        return Intermediate;

    bool ok = false;
    const int value = input.startsWith(QLatin1String("0x")) ? input.toInt(&ok, 16) : input.toInt(&ok, 10);
    if (!ok)
        return Invalid;

    QString decimal = QString::number(value, 10);
    return QIntValidator::validate(decimal, pos);
}
