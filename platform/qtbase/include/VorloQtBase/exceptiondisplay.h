#pragma once
// Showing a failure to the person at the screen.
//
// showException() and showUnexpectedException() write a warning to the log and then hand the
// operation's name, the message and the failure text to the exception presenter. The default
// presenter opens a critical message box (only when a QApplication with widgets exists). A
// program or a test replaces it with setExceptionPresenter(); tests use ExceptionRecorder so
// that no modal dialog can ever block them.

#include <VorloQtBase/vorloqtbase_export.h>
#include <VorloQtBase/genicamexception.h>

#include <QList>
#include <QString>

#include <exception>
#include <functional>
#include <memory>

class QWidget;

// Shows a GenICam failure: the message, the description and the source file:line.
VORLOQTBASE_EXPORT void showException(const QString& function, const GenICam::GenericException& e,
                                      const QString& message, QWidget* parent = nullptr);
// Shows a standard library failure: the message and what().
VORLOQTBASE_EXPORT void showException(const QString& function, const std::exception& e,
                                      const QString& message, QWidget* parent = nullptr);
// Shows a failure of unknown kind (the catch-all clause).
VORLOQTBASE_EXPORT void showUnexpectedException(const QString& function, const QString& message,
                                                QWidget* parent = nullptr);

namespace VorloQtBase {

// Receives what would be shown: the operation's name, the message for the person and the
// failure text ("" for an unexpected exception). Called on the thread that reports.
using ExceptionPresenter =
    std::function<void(const QString& function, const QString& message, const QString& failure)>;

// Installs a presenter and returns the one that was installed before (empty for the default
// message box). Passing an empty function restores the default message box.
VORLOQTBASE_EXPORT ExceptionPresenter setExceptionPresenter(ExceptionPresenter presenter);

// The failure texts that showException() passes on.
// GenICam: "<description>\n<source file>:<line>"; std::exception: what().
VORLOQTBASE_EXPORT QString failureText(const GenICam::GenericException& e);
VORLOQTBASE_EXPORT QString failureText(const std::exception& e);

// Records every reported failure instead of showing it, for as long as it lives.
// Installs itself in the constructor and puts the previous presenter back in the destructor.
// Thread-safe: failures reported from other threads are recorded too.
class VORLOQTBASE_EXPORT ExceptionRecorder
{
public:
    struct Call
    {
        QString function;
        QString message;
        QString failure;
    };

    ExceptionRecorder();
    ~ExceptionRecorder();
    ExceptionRecorder(const ExceptionRecorder&) = delete;
    ExceptionRecorder& operator=(const ExceptionRecorder&) = delete;

    QList<Call> calls() const;
    int count() const;
    Call last() const; // an empty Call when nothing was recorded
    void clear();

private:
    struct Private;
    std::shared_ptr<Private> d; // shared with the installed presenter
    ExceptionPresenter m_previous;
};

} // namespace VorloQtBase
