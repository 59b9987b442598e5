#pragma once
// Shared pieces of the value editor tests: node maps written as GenICam XML in the tests,
// access modes imposed on nodes, and a recorder of log messages.

#include <GenApi/GenApi.h>
#include <VorloQtBase/exceptiondisplay.h>

#include <QAbstractSpinBox>
#include <QApplication>
#include <QMutex>
#include <QMutexLocker>
#include <QString>
#include <QStringList>
#include <QTest>
#include <QWidget>

#include <limits>
#include <memory>

namespace EditorTest
{
// A whole description around the given feature nodes; Root lists the named features.
inline QString description(const QString& features, const QStringList& rootFeatures = {})
{
    QString root = QStringLiteral("<Category Name=\"Root\">");
    for (const QString& f : rootFeatures)
        root += QStringLiteral("<pFeature>%1</pFeature>").arg(f);
    root += QStringLiteral("</Category>");
    return QStringLiteral(
               "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
               "<RegisterDescription ModelName=\"EditorTest\" VendorName=\"Kesdor\" ToolTip=\"Editor tests\" "
               "StandardNameSpace=\"None\" SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" "
               "SchemaSubMinorVersion=\"0\" MajorVersion=\"1\" MinorVersion=\"0\" SubMinorVersion=\"0\" "
               "ProductGuid=\"11111111-2222-3333-4444-555555555555\" "
               "VersionGuid=\"66666666-7777-8888-9999-000000000000\" "
               "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">\n%1\n%2\n</RegisterDescription>\n")
        .arg(root, features);
}

// Owns one node map loaded from XML text; destroy() tears it down while editors still hold
// its nodes.
class NodeMap
{
public:
    explicit NodeMap(const QString& features, const QStringList& rootFeatures = {})
    {
        m_ref._LoadXMLFromString(description(features, rootFeatures).toUtf8().constData());
    }

    GenApi::INode* node(const char* name) const
    {
        GenApi::INode* n = m_ref._GetNode(name);
        if (!n)
            qFatal("test node map has no node %s", name);
        return n;
    }

    template<class T>
    T* get(const char* name) const
    {
        T* t = dynamic_cast<T*>(node(name));
        if (!t)
            qFatal("test node %s has the wrong interface", name);
        return t;
    }

    GenApi::INodeMap* map() const { return m_ref._Ptr; }
    bool connect(GenApi::IPort* port, const char* name = "Device") { return m_ref._Connect(port, name); }
    void destroy() { m_ref._Destroy(); }

private:
    GenApi::CNodeMapRef m_ref;
};

// Collects every message the process writes, so that a test can check the failure texts.
class MessageRecorder
{
public:
    MessageRecorder()
    {
        QMutexLocker lock(&mutex());
        current() = this;
        m_previous = qInstallMessageHandler(&MessageRecorder::handler);
    }
    ~MessageRecorder()
    {
        QMutexLocker lock(&mutex());
        qInstallMessageHandler(m_previous);
        current() = nullptr;
    }
    MessageRecorder(const MessageRecorder&) = delete;
    MessageRecorder& operator=(const MessageRecorder&) = delete;

    QStringList messages() const
    {
        QMutexLocker lock(&mutex());
        return m_messages;
    }
    bool contains(const QString& text) const
    {
        QMutexLocker lock(&mutex());
        for (const QString& m : m_messages)
            if (m.contains(text))
                return true;
        return false;
    }
    int count(const QString& text) const
    {
        QMutexLocker lock(&mutex());
        int n = 0;
        for (const QString& m : m_messages)
            if (m.contains(text))
                ++n;
        return n;
    }
    void clear()
    {
        QMutexLocker lock(&mutex());
        m_messages.clear();
    }
    QString joined() const { return messages().join(QStringLiteral("\n---\n")); }

private:
    static QMutex& mutex()
    {
        static QMutex m(QMutex::Recursive);
        return m;
    }
    static MessageRecorder*& current()
    {
        static MessageRecorder* r = nullptr;
        return r;
    }
    static void handler(QtMsgType type, const QMessageLogContext&, const QString& text)
    {
        QMutexLocker lock(&mutex());
        if (current())
            current()->m_messages << text;
        if (type == QtFatalMsg)
            abort();
    }

    QtMessageHandler m_previous = nullptr;
    QStringList m_messages;
};

inline void showAndFocus(QWidget* top, QWidget* focus)
{
    top->show();
    QApplication::setActiveWindow(top);
    QVERIFY(QTest::qWaitForWindowActive(top));
    focus->setFocus(Qt::OtherFocusReason);
    QTRY_VERIFY(focus->hasFocus());
}

// The access modes a node can show, imposed on a floating node. NI and NA come from
// pIsImplemented and pIsAvailable, the others from ImposedAccessMode.
inline const char* accessModeName(GenApi::EAccessMode mode)
{
    switch (mode) {
    case GenApi::NI:
        return "NI";
    case GenApi::NA:
        return "NA";
    case GenApi::WO:
        return "WO";
    case GenApi::RO:
        return "RO";
    case GenApi::RW:
        return "RW";
    default:
        return "undefined";
    }
}

// XML elements that give a node the access mode: to be put inside the node's element.
// NI and NA refer to the Integer "Zero" that accessModeSupport() declares.
inline QString accessModeElements(GenApi::EAccessMode mode)
{
    switch (mode) {
    case GenApi::NI:
        return QStringLiteral("<pIsImplemented>Zero</pIsImplemented>");
    case GenApi::NA:
        return QStringLiteral("<pIsAvailable>Zero</pIsAvailable>");
    case GenApi::WO:
        return QStringLiteral("<ImposedAccessMode>WO</ImposedAccessMode>");
    case GenApi::RO:
        return QStringLiteral("<ImposedAccessMode>RO</ImposedAccessMode>");
    default:
        return QString();
    }
}

inline QString accessModeSupport()
{
    return QStringLiteral("<Integer Name=\"Zero\"><Value>0</Value></Integer>");
}
} // namespace EditorTest
