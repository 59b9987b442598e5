#include <VorloQtWidgets/aboutdialogimpl.h>

#include "ui_aboutdialog.h"

#include <QCoreApplication>
#include <QDialog>

namespace {

// Four centred paragraphs: the name in bold, the version, the copyright line and the web
// address as a link.
const char kTemplate[] =
    "<html><head/><body>"
    "<p align=\"center\"><span style=\" font-size:large; font-weight:600;\">%1</span>"
    "<span style=\" font-size:large;\"> </span></p>"
    "<p align=\"center\"><span style=\" font-size:large;\">Version %2</span></p>"
    "<p align=\"center\"><span style=\" font-size:large;\">Copyright &#169; %3 %4</span></p>"
    "<p align=\"center\"><a href=\"https://www.%5/\">"
    "<span style=\" font-size:large; text-decoration: underline; color:#0000ff;\">www.%5</span>"
    "</a></p>"
    "</body></html>";

} // namespace

AboutDialogImpl::AboutDialogImpl(QWidget* parent)
    : m_productVersion()
    , m_copyrightTimeRange(QStringLiteral("2014-2017"))
    , m_pDialog(new QDialog(parent, Qt::WindowFlags()))
    , m_pUi(new Ui_AboutDialog)
    , m_template(QString::fromUtf8(kTemplate))
{
    m_pUi->setupUi(m_pDialog);
    UpdateLabel();
    m_pDialog->setWindowTitle(
        QCoreApplication::translate("AboutDialog", "About %1").arg(QCoreApplication::applicationName()));
    m_pDialog->setWindowFlags(Qt::Dialog | Qt::WindowTitleHint | Qt::WindowSystemMenuHint
                              | Qt::WindowCloseButtonHint);
}

AboutDialogImpl::~AboutDialogImpl()
{
    m_pDialog->deleteLater();
    delete m_pUi;
}

void AboutDialogImpl::setProductVersion(const QString& version)
{
    m_productVersion = version;
    UpdateLabel();
}

void AboutDialogImpl::setCopyrightTimeRange(const QString& range)
{
    m_copyrightTimeRange = range;
    UpdateLabel();
}

int AboutDialogImpl::exec()
{
    return m_pDialog->exec();
}

void AboutDialogImpl::UpdateLabel()
{
    // One multi-argument arg() call, so that a "%" inside a value is never taken for a
    // place holder of a later argument.
    m_pUi->label->setText(m_template.arg(QCoreApplication::applicationName(), m_productVersion,
                                         m_copyrightTimeRange, QCoreApplication::organizationName(),
                                         QCoreApplication::organizationDomain()));
}
