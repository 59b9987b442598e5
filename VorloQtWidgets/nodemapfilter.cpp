#include "nodemapfilter.h"

#include <QCoreApplication>
#include <QFile>
#include <QString>

#include <VorloQtBase/exceptionhandling.h>

using namespace GenApi;

namespace {

const char* const s_resourceFolder = ":/vorloqtwidgets/Resources/";
const char* const s_applicationFolder = "/../share/vorlo/viewer/";

bool visibilityFromText(const QString& text, EVisibility& visibility)
{
    if (text == QLatin1String("Beginner"))
        visibility = Beginner;
    else if (text == QLatin1String("Expert"))
        visibility = Expert;
    else if (text == QLatin1String("Guru"))
        visibility = Guru;
    else if (text == QLatin1String("Invisible"))
        visibility = Invisible;
    else
        return false;
    return true;
}

// A filter can only take access away: RW and WO are not accepted.
bool accessModeFromText(const QString& text, EAccessMode& accessMode)
{
    if (text == QLatin1String("RO"))
        accessMode = RO;
    else if (text == QLatin1String("NA"))
        accessMode = NA;
    else if (text == QLatin1String("NI"))
        accessMode = NI;
    else
        return false;
    return true;
}

} // namespace

namespace NodeMapFilter {

bool applyFilter(INodeMap* nodeMap)
{
    if (!nodeMap)
        return false;
    QDomDocument document;
    if (!createDocument(document, nodeMap))
        return false;
    // A bad rule doesn't stop the rules after it.
    for (QDomElement rule = document.documentElement().firstChildElement(); !rule.isNull();
         rule = rule.nextSiblingElement())
        processElement(rule, nodeMap);
    return true;
}

bool createDocument(QDomDocument& document, INodeMap* nodeMap)
{
    IDeviceInfo* deviceInfo = dynamic_cast<IDeviceInfo*>(nodeMap);
    if (!nodeMap || !deviceInfo)
    {
        qWarning("%s: nodemap doesn't implement IDeviceInfo interface", "createDocument");
        return false;
    }

    QString modelName;
    if (!VorloQtBase::guarded("createDocument", QStringLiteral("Failed to call GenApi::INodeMap::GetModelName()"),
                              [&] { modelName = QString::fromUtf8(deviceInfo->GetModelName().c_str()); }))
        return false;

    const QString applicationFolder = QCoreApplication::applicationDirPath() + QLatin1String(s_applicationFolder);
    const QString resourceFolder = QString::fromLatin1(s_resourceFolder);
    const QString modelFile = modelName + QStringLiteral("_Filter.xml");
    const QString defaultFile = QStringLiteral("Default_Filter.xml");
    const QString candidates[] = {applicationFolder + modelFile, resourceFolder + modelFile,
                                  applicationFolder + defaultFile, resourceFolder + defaultFile};

    QFile file;
    bool opened = false;
    for (const QString& candidate : candidates)
    {
        file.setFileName(candidate);
        if (file.open(QIODevice::ReadOnly))
        {
            opened = true;
            break;
        }
    }
    if (!opened)
    {
        // The built-in default is always in the resource set.
        Q_ASSERT(false);
        qWarning("%s: failed to open file %s and Default_Filter.xml", "createDocument",
                 qPrintable(resourceFolder + modelFile));
        return false;
    }

    // The first file that opens is the filter, even when it doesn't parse.
    QString errorText;
    int errorLine = 0;
    int errorColumn = 0;
    const bool parsed = document.setContent(&file, &errorText, &errorLine, &errorColumn);
    if (!parsed)
    {
        qWarning("%s: failed to parse file %s: %s (%d, %d)", "createDocument", qPrintable(file.fileName()),
                 qPrintable(errorText), errorLine, errorColumn);
        file.close();
        return false;
    }
    file.close();
    return parsed;
}

bool processElement(QDomElement& element, INodeMap* nodeMap)
{
    const QDomNodeList names = element.elementsByTagName(QStringLiteral("Name"));
    if (names.isEmpty())
    {
        qWarning("%s: failed to get the name of a filter item", "processElement");
        return false;
    }
    const QString name = names.at(0).toElement().text();
    if (name.isEmpty())
    {
        qWarning("%s: empty name found", "processElement");
        return false;
    }
    const QByteArray latin1Name = name.toLatin1();
    INode* node = nodeMap ? nodeMap->GetNode(gcstring(latin1Name.constData())) : nullptr;
    if (!node)
        return false;

    const QDomNodeList visibilities = element.elementsByTagName(QStringLiteral("Visibility"));
    if (!visibilities.isEmpty())
    {
        const QString text = visibilities.at(0).toElement().text();
        EVisibility visibility = _UndefinedVisibility;
        if (!visibilityFromText(text, visibility))
        {
            qWarning("%s: invalid visibility: %s", "processElement", qPrintable(text));
            return false;
        }
        if (!VorloQtBase::guarded("processElement",
                                  QString::asprintf("Failed to impose the visibility of node %s", latin1Name.constData()),
                                  [&] { node->ImposeVisibility(visibility); }))
            return false;
    }

    const QDomNodeList accessModes = element.elementsByTagName(QStringLiteral("AccessMode"));
    if (!accessModes.isEmpty())
    {
        const QString text = accessModes.at(0).toElement().text();
        EAccessMode accessMode = _UndefinedAccesMode;
        if (!accessModeFromText(text, accessMode))
        {
            qWarning("%s: invalid access mode: %s", "processElement", qPrintable(text));
            return false;
        }
        if (!VorloQtBase::guarded("processElement",
                                  QString::asprintf("Failed to impose the access mode of node %s", latin1Name.constData()),
                                  [&] { node->ImposeAccessMode(accessMode); }))
            return false;
    }
    return true;
}

} // namespace NodeMapFilter
