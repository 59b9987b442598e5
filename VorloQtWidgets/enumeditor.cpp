#include "enumeditor.h"

#include "editorsupport_p.h"

#include <QApplication>
#include <QDebug>
#include <QEvent>
#include <QIcon>

EnumEditor::EnumEditor(QWidget* parent, GenApi::_EVisibility* pVisibility)
    : QComboBox(parent)
    , m_popup(nullptr)
    , m_pVisibility(pVisibility)
{
    setEditable(false);
    setStyleSheet(QStringLiteral(
        "margin-left:1px; margin-right:1px; margin-top:1px; margin-bottom:1px; padding-left: 4px;"));
}

EnumEditor::~EnumEditor()
{
    // Passing no filter removes nothing; the popup goes with the combo box anyway.
    if (m_popup)
        m_popup->removeEventFilter(nullptr);
}

void EnumEditor::setEditorData(GenApi::INode* pNode)
{
    if (m_popup)
        return; // the list is never rebuilt under an open popup

    VorloQtInternal::guardedNamed(
        "setEditorData", "!! Failed to retrieve entries for enumeration %s",
        [&] { return VorloQtInternal::nodeName(pNode); },
        [&] {
            clear();
            GenApi::IEnumeration* pEnumeration = dynamic_cast<GenApi::IEnumeration*>(pNode);
            if (!pNode || !pEnumeration) {
                qWarning("%s is called with non-enumeration node????", "setEditorData");
                return;
            }

            GenApi::NodeList_t entries;
            pEnumeration->GetEntries(entries);
            for (GenApi::INode* entry : entries) {
                if (!entry)
                    continue;
                const GenApi::EAccessMode mode = entry->GetAccessMode();
                if (mode == GenApi::NI || mode == GenApi::NA)
                    continue;
                // The view's level is read at every refresh, so a change of it needs no new editor.
                if (m_pVisibility && entry->GetVisibility() > *m_pVisibility)
                    continue;
                addItem(entry);
            }

            if (VorloQtInternal::isReadable(pNode)) {
                const QString current = QString::fromUtf8(pEnumeration->ToString(false, false).c_str());
                const int index = findData(current, Qt::UserRole, Qt::MatchCaseSensitive);
                if (index >= 0) {
                    setCurrentIndex(index);
                } else {
                    qWarning().nospace().noquote()
                        << "setEditorData" << ": " << VorloQtInternal::nodeName(pNode)
                        << ". No entry in the combo box matches the current value " << current;
                    setCurrentIndex(-1);
                }
            } else {
                setCurrentIndex(-1);
            }

            VorloQtInternal::setEnabledIfChanged(this, VorloQtInternal::isWritable(pNode));
        });
}

void EnumEditor::addItem(GenApi::INode* pNode)
{
    VorloQtInternal::guardedNamed(
        "addItem", "Failed to add item for node %s", [&] { return VorloQtInternal::nodeName(pNode); },
        [&] {
            GenApi::IEnumEntry* pEntry = dynamic_cast<GenApi::IEnumEntry*>(pNode);
            if (!pNode || !pEntry) {
                qCritical("%s: Tried to add item which is not an IEnumEntry", "addItem");
                return;
            }
            QComboBox::addItem(QIcon(), QString::fromUtf8(pNode->GetDisplayName().c_str()),
                               QString::fromUtf8(pEntry->GetSymbolic().c_str()));
        });
}

QVariant EnumEditor::editorData()
{
    return itemData(currentIndex(), Qt::UserRole);
}

void EnumEditor::showPopup()
{
    QComboBox::showPopup();
    m_popup = QApplication::activePopupWidget();
    if (m_popup)
        m_popup->installEventFilter(this);
}

bool EnumEditor::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_popup && event->type() == QEvent::Hide) {
        m_popup->removeEventFilter(this);
        m_popup = nullptr;
        return true;
    }
    return QObject::eventFilter(watched, event);
}
