#include <VorloQtWidgets/aboutdialog.h>

#include <VorloQtWidgets/aboutdialogimpl.h>

AboutDialog::AboutDialog(QWidget* parent)
    : m_pImpl(new AboutDialogImpl(parent))
{
}

AboutDialog::~AboutDialog()
{
    delete m_pImpl;
}

void AboutDialog::setProductVersion(const QString& version)
{
    m_pImpl->setProductVersion(version);
}

void AboutDialog::setCopyrightTimeRange(const QString& range)
{
    m_pImpl->setCopyrightTimeRange(range);
}

int AboutDialog::exec()
{
    return m_pImpl->exec();
}
