#include <VorloQtBase/exceptiondisplay.h>

#include "textof_p.h"

#include <QApplication>
#include <QMessageBox>
#include <QMutex>
#include <QMutexLocker>
#include <QThread>
#include <QWidget>
#include <QtGlobal>

namespace VorloQtBase {

namespace {

QMutex& presenterMutex()
{
    static QMutex mutex;
    return mutex;
}

ExceptionPresenter& installedPresenter()
{
    static ExceptionPresenter presenter;
    return presenter;
}

// The default: a critical message box, only where widgets can exist and only on the GUI
// thread; elsewhere the warning in the log is all there is.
void showMessageBox(const QString& function, const QString& message, const QString& failure,
                    QWidget* parent)
{
    Q_UNUSED(function);
    auto* app = qobject_cast<QApplication*>(QCoreApplication::instance());
    if (!app || QThread::currentThread() != app->thread())
        return;
    QString text = message;
    if (!failure.isEmpty()) {
        if (!text.isEmpty())
            text += QStringLiteral("\n\n");
        text += failure;
    }
    const QString title = QCoreApplication::applicationName().isEmpty()
                              ? QStringLiteral("Error")
                              : QCoreApplication::applicationName();
    QMessageBox::critical(parent, title, text);
}

void present(const QString& function, const QString& message, const QString& failure,
             QWidget* parent)
{
    qWarning("%s: %s%s%s", qUtf8Printable(function), qUtf8Printable(message),
             failure.isEmpty() ? "" : "\n", qUtf8Printable(failure));
    ExceptionPresenter presenter;
    {
        QMutexLocker lock(&presenterMutex());
        presenter = installedPresenter();
    }
    if (presenter)
        presenter(function, message, failure);
    else
        showMessageBox(function, message, failure, parent);
}

} // namespace

ExceptionPresenter setExceptionPresenter(ExceptionPresenter presenter)
{
    QMutexLocker lock(&presenterMutex());
    ExceptionPresenter previous = std::move(installedPresenter());
    installedPresenter() = std::move(presenter);
    return previous;
}

QString failureText(const GenICam::GenericException& e)
{
    return QStringLiteral("%1\n%2:%3")
        .arg(detail::textOf(e.GetDescription()), detail::textOf(e.GetSourceFileName()),
             QString::number(e.GetSourceLine()));
}

QString failureText(const std::exception& e)
{
    return QString::fromUtf8(e.what());
}

struct ExceptionRecorder::Private
{
    mutable QMutex mutex;
    QList<Call> calls;
};

ExceptionRecorder::ExceptionRecorder()
    : d(std::make_shared<Private>())
{
    std::weak_ptr<Private> weak = d;
    m_previous = setExceptionPresenter(
        [weak](const QString& function, const QString& message, const QString& failure) {
            if (auto p = weak.lock()) {
                QMutexLocker lock(&p->mutex);
                p->calls.append(Call{function, message, failure});
            }
        });
}

ExceptionRecorder::~ExceptionRecorder()
{
    setExceptionPresenter(std::move(m_previous));
}

QList<ExceptionRecorder::Call> ExceptionRecorder::calls() const
{
    QMutexLocker lock(&d->mutex);
    return d->calls;
}

int ExceptionRecorder::count() const
{
    QMutexLocker lock(&d->mutex);
    return d->calls.size();
}

ExceptionRecorder::Call ExceptionRecorder::last() const
{
    QMutexLocker lock(&d->mutex);
    return d->calls.isEmpty() ? Call() : d->calls.last();
}

void ExceptionRecorder::clear()
{
    QMutexLocker lock(&d->mutex);
    d->calls.clear();
}

} // namespace VorloQtBase

void showException(const QString& function, const GenICam::GenericException& e,
                   const QString& message, QWidget* parent)
{
    VorloQtBase::present(function, message, VorloQtBase::failureText(e), parent);
}

void showException(const QString& function, const std::exception& e, const QString& message,
                   QWidget* parent)
{
    VorloQtBase::present(function, message, VorloQtBase::failureText(e), parent);
}

void showUnexpectedException(const QString& function, const QString& message, QWidget* parent)
{
    VorloQtBase::present(function, message, QString(), parent);
}
