#pragma once
// The about box: application name, version, copyright and web address over the library's
// background image. A plain class around the dialog, so that the application only sets the
// version and runs it.

#include <VorloQtWidgets/vorloqtwidgets_export.h>

#include <QString>

class AboutDialogImpl;
class QWidget;

class VORLOQTWIDGETS_EXPORT AboutDialog
{
public:
    explicit AboutDialog(QWidget* parent = nullptr);
    virtual ~AboutDialog();
    AboutDialog(const AboutDialog&) = delete;
    AboutDialog& operator=(const AboutDialog&) = delete;

    void setProductVersion(const QString& version);
    void setCopyrightTimeRange(const QString& range);
    // Runs the dialog modally; returns its result.
    int exec();

    // The implementation, for applications that want to show the dialog without blocking.
    AboutDialogImpl* impl() const { return m_pImpl; }

private:
    AboutDialogImpl* m_pImpl; // owned
};
