#pragma once
// The dialog behind AboutDialog: fills the form's label from an HTML template with the
// application's name, version, copyright years, organisation and web address.

#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include <QString>

class QDialog;
class QWidget;
class Ui_AboutDialog;

class VORLOQTWIDGETS_EXPORT AboutDialogImpl
{
public:
    explicit AboutDialogImpl(QWidget* parent = nullptr);
    virtual ~AboutDialogImpl();
    AboutDialogImpl(const AboutDialogImpl&) = delete;
    AboutDialogImpl& operator=(const AboutDialogImpl&) = delete;

    void setProductVersion(const QString& version);
    void setCopyrightTimeRange(const QString& range);
    QString productVersion() const { return m_productVersion; }
    QString copyrightTimeRange() const { return m_copyrightTimeRange; }

    int exec();
    QDialog* dialog() const { return m_pDialog; }

    // Fills the template in one pass and sets it on the form's label.
    void UpdateLabel();

private:
    QString m_productVersion;
    QString m_copyrightTimeRange;
    QDialog* m_pDialog;    // deleted later with the implementation
    Ui_AboutDialog* m_pUi; // owned
    QString m_template;
};
