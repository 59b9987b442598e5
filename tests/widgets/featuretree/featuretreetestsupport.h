#pragma once
// Shared by the feature tree presentation tests: a description with every editor kind,
// helpers that find rows by full name (loading lazy levels on the way) and render model
// state as short strings.

#include <QAbstractItemModel>
#include <QModelIndex>
#include <QStandardPaths>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include "../featuremodel/featuremodeltestsupport.h"

namespace FeatureTreeTest {

using FeatureModelTest::descriptionHead;
using FeatureModelTest::descriptionTail;

// A camera with one feature of every editor kind, a float slider with an integer alias,
// a linear float without one, features at every user level and a feature whose access
// follows another node.
inline QByteArray editorsDescription(const char* modelName = "PresentationCam")
{
    return descriptionHead(modelName) +
        "<Category Name=\"Root\">\n"
        "  <pFeature>Acquisition</pFeature>\n"
        "  <pFeature>Analog</pFeature>\n"
        "  <pFeature>Levels</pFeature>\n"
        "</Category>\n"
        "<Category Name=\"Acquisition\">\n"
        "  <pFeature>ExposureTime</pFeature>\n"
        "  <pFeature>Width</pFeature>\n"
        "  <pFeature>Height</pFeature>\n"
        "  <pFeature>PixelFormat</pFeature>\n"
        "  <pFeature>ReverseX</pFeature>\n"
        "  <pFeature>TriggerSoftware</pFeature>\n"
        "  <pFeature>DeviceUserID</pFeature>\n"
        "</Category>\n"
        "<Category Name=\"Analog\">\n"
        "  <pFeature>Gain</pFeature>\n"
        "  <pFeature>BlackLevel</pFeature>\n"
        "  <pFeature>Gamma</pFeature>\n"
        "</Category>\n"
        "<Category Name=\"Levels\">\n"
        "  <pFeature>BeginnerValue</pFeature>\n"
        "  <pFeature>ExpertValue</pFeature>\n"
        "  <pFeature>GuruValue</pFeature>\n"
        "  <pFeature>LockedValue</pFeature>\n"
        "  <pFeature>Lock</pFeature>\n"
        "</Category>\n"
        "<Float Name=\"ExposureTime\">\n"
        "  <ToolTip>Exposure time</ToolTip>\n"
        "  <Value>100</Value>\n"
        "  <Min>10</Min>\n"
        "  <Max>10000</Max>\n"
        "  <Inc>1</Inc>\n"
        "  <Unit>us</Unit>\n"
        "</Float>\n"
        "<Integer Name=\"Width\">\n"
        "  <Value>640</Value>\n"
        "  <Min>16</Min>\n"
        "  <Max>1920</Max>\n"
        "  <Inc>16</Inc>\n"
        "</Integer>\n"
        "<Integer Name=\"Height\">\n"
        "  <Value>480</Value>\n"
        "  <Min>16</Min>\n"
        "  <Max>1080</Max>\n"
        "  <Representation>Linear</Representation>\n"
        "</Integer>\n"
        "<Enumeration Name=\"PixelFormat\">\n"
        "  <EnumEntry Name=\"Mono8\"><Value>1</Value></EnumEntry>\n"
        "  <EnumEntry Name=\"Mono12\"><Value>2</Value></EnumEntry>\n"
        "  <EnumEntry Name=\"Mono16\"><Value>3</Value></EnumEntry>\n"
        "  <Value>1</Value>\n"
        "</Enumeration>\n"
        "<Boolean Name=\"ReverseX\">\n"
        "  <Value>0</Value>\n"
        "</Boolean>\n"
        "<Command Name=\"TriggerSoftware\">\n"
        "  <pValue>TriggerCount</pValue>\n"
        "  <CommandValue>1</CommandValue>\n"
        "</Command>\n"
        "<Integer Name=\"TriggerCount\">\n"
        "  <Value>0</Value>\n"
        "</Integer>\n"
        "<String Name=\"DeviceUserID\">\n"
        "  <Value>camera one</Value>\n"
        "</String>\n"
        "<Float Name=\"Gain\">\n"
        "  <Value>1.5</Value>\n"
        "  <Min>0</Min>\n"
        "  <Max>24</Max>\n"
        "  <Unit>dB</Unit>\n"
        "  <Representation>Linear</Representation>\n"
        "</Float>\n"
        "<Float Name=\"BlackLevel\">\n"
        "  <pAlias>BlackLevelRaw</pAlias>\n"
        "  <Value>4</Value>\n"
        "  <Min>0</Min>\n"
        "  <Max>64</Max>\n"
        "  <Representation>Linear</Representation>\n"
        "</Float>\n"
        "<Integer Name=\"BlackLevelRaw\">\n"
        "  <Visibility>Invisible</Visibility>\n"
        "  <Value>16</Value>\n"
        "  <Min>0</Min>\n"
        "  <Max>256</Max>\n"
        "</Integer>\n"
        "<Float Name=\"Gamma\">\n"
        "  <Visibility>Beginner</Visibility>\n"
        "  <Value>1</Value>\n"
        "  <Min>0.25</Min>\n"
        "  <Max>4</Max>\n"
        "</Float>\n"
        "<Integer Name=\"BeginnerValue\">\n"
        "  <Visibility>Beginner</Visibility>\n"
        "  <Value>1</Value>\n"
        "</Integer>\n"
        "<Integer Name=\"ExpertValue\">\n"
        "  <Visibility>Expert</Visibility>\n"
        "  <Value>2</Value>\n"
        "</Integer>\n"
        "<Integer Name=\"GuruValue\">\n"
        "  <Visibility>Guru</Visibility>\n"
        "  <Value>3</Value>\n"
        "</Integer>\n"
        "<Enumeration Name=\"LockedValue\">\n"
        "  <pIsAvailable>Unlocked</pIsAvailable>\n"
        "  <EnumEntry Name=\"Off\"><Value>0</Value></EnumEntry>\n"
        "  <EnumEntry Name=\"On\"><Value>1</Value></EnumEntry>\n"
        "  <Value>0</Value>\n"
        "</Enumeration>\n"
        "<Boolean Name=\"Lock\">\n"
        "  <pValue>LockValue</pValue>\n"
        "</Boolean>\n"
        "<Integer Name=\"LockValue\">\n"
        "  <Value>0</Value>\n"
        "</Integer>\n"
        "<IntSwissKnife Name=\"Unlocked\">\n"
        "  <pVariable Name=\"L\">LockValue</pVariable>\n"
        "  <Formula>L = 0</Formula>\n"
        "</IntSwissKnife>\n"
        + descriptionTail();
}

// Depth first over the rows, loading lazy levels: the index at `column` of the row with
// this full name, or an invalid index.
inline QModelIndex findByFullName(const QAbstractItemModel* model, const QString& fullName, int column = 0,
                                  const QModelIndex& parent = QModelIndex())
{
    const int rows = model->rowCount(parent);
    for (int row = 0; row < rows; ++row) {
        const QModelIndex index = model->index(row, 0, parent);
        if (index.data(Qt::UserRole + 32).toString() == fullName)
            return model->index(row, column, parent);
        const QModelIndex below = findByFullName(model, fullName, column, index);
        if (below.isValid())
            return below;
    }
    return QModelIndex();
}

// Depth first, loading lazy levels: the row of the node with this name outside the
// favorites (the first level below a node map's top row has no map name in its full name).
inline QModelIndex findByNodeName(const QAbstractItemModel* model, const QString& nodeName, int column = 0,
                                  const QModelIndex& parent = QModelIndex())
{
    const int rows = model->rowCount(parent);
    for (int row = 0; row < rows; ++row) {
        const QModelIndex index = model->index(row, 0, parent);
        const QString fullName = index.data(Qt::UserRole + 32).toString();
        if (!fullName.startsWith(QLatin1String("Fav*")) && fullName.endsWith(QLatin1Char('*') + nodeName))
            return model->index(row, column, parent);
        const QModelIndex below = findByNodeName(model, nodeName, column, index);
        if (below.isValid())
            return below;
    }
    return QModelIndex();
}

// The display names of the rows under parent, "|" between them.
inline QString childNames(const QAbstractItemModel* model, const QModelIndex& parent)
{
    QStringList names;
    for (int row = 0; row < model->rowCount(parent); ++row)
        names << model->index(row, 0, parent).data().toString();
    return names.join(QLatin1Char('|'));
}

} // namespace FeatureTreeTest
