#include <VorloQtWidgets/devicetooltip.h>

#include <vector>

#include <VorloQtBase/formatdevicename.h>

namespace {

typedef QString (*ValueFormatter)(const char*);

struct ToolTipRow
{
    GenICam::gcstring propertyName; // in the device record; may be empty
    GenICam::gcstring nodeName;     // in the device's node map; may be empty
    QString label;                  // holds the tabs that align the values
    unsigned int detailLevel;       // 0 usual, 100 detailed
    ValueFormatter formatter;       // null: the value is UTF-8 text
};

std::vector<ToolTipRow> makeToolTipTable()
{
    std::vector<ToolTipRow> rows = {
        {"ModelName", "", QStringLiteral("Model Name:\t"), 0, nullptr},
        {"VendorName", "", QStringLiteral("Vendor:\t\t"), 100, nullptr},
        {"SerialNumber", "", QStringLiteral("Serial Number:\t"), 0, nullptr},
        {"DeviceVersion", "DeviceVersion", QStringLiteral("Version:\t\t"), 0, nullptr},
        {"", "DeviceFirmwareVersion", QStringLiteral("FW Version:\t"), 0, nullptr},
        {"XMLSource", "", QStringLiteral("XML Source:\t"), 100, nullptr},
    };
    for (int i = 1; i <= 8; ++i) {
        rows.push_back({GenICam::gcstring(QStringLiteral("XMLExtensionSource_%1").arg(i).toStdString()),
                        "", QStringLiteral("XML Source Ext %1:\t").arg(i), 100, nullptr});
    }
    const std::vector<ToolTipRow> tail = {
        {"Address", "", QStringLiteral("IP Address:\t"), 0, nullptr},
        {"SubnetMask", "", QStringLiteral("Subnet Mask:\t"), 0, nullptr},
        {"DefaultGateway", "", QStringLiteral("Gateway:\t"), 100, nullptr},
        {"MacAddress", "", QStringLiteral("MAC:\t\t"), 100, &formatMACAddressWithHyphen},
        {"Interface", "", QStringLiteral("Host IF:\t\t"), 0, nullptr},
        {"IpConfigCurrent", "", QStringLiteral("IP Config:\t"), 0, &formatIPConfigurationFull},
        {"TLType", "", QStringLiteral("TL Type:\t\t"), 0, nullptr},
        {"GTLInterfaceID", "", QStringLiteral("Interface ID:\t"), 0, nullptr},
        {"GTLDeviceID", "", QStringLiteral("GTL DeviceID:\t"), 0, nullptr},
        {"DeviceGUID", "", QStringLiteral("Device GUID:\t"), 0, nullptr},
        {"ManufacturerInfo", "", QStringLiteral("Manuf. Info:\t"), 0, nullptr},
        {"DeviceIdx", "", QStringLiteral("Device Index:\t"), 100, nullptr},
        {"VendorId", "", QStringLiteral("Vendor ID:\t"), 100, nullptr},
        {"ProductId", "", QStringLiteral("Product ID:\t"), 100, nullptr},
        {"DriverKeyName", "", QStringLiteral("Driver Key:\t"), 100, nullptr},
        {"UsbDriverTypeName", "", QStringLiteral("USB Driver:\t"), 100, nullptr},
    };
    rows.insert(rows.end(), tail.begin(), tail.end());
    return rows;
}

QString formatValue(const ToolTipRow& row, const char* value)
{
    return row.formatter ? row.formatter(value) : QString::fromUtf8(value);
}

} // namespace

QString formatToolTipFromDevice(const Vorlo::CDeviceInfo& info, const Vorlo::IVorloDevice* device,
                                unsigned int detailLevel)
{
    // Built once, on the first call (a thread-safe local static), and released at exit.
    static const std::vector<ToolTipRow> table = makeToolTipTable();

    QString toolTip;
    toolTip.reserve(512);
    const GenICam::gcstring friendlyName = info.GetFriendlyName();
    toolTip += IsUtf8Device(&info) ? QString::fromUtf8(friendlyName.c_str())
                                   : QString::fromLatin1(friendlyName.c_str());
    toolTip += QLatin1String("\n\n");

    // The device's features are only read; the SDK's node map accessor is not const.
    GenApi::INodeMap* nodeMap =
        device ? const_cast<Vorlo::IVorloDevice*>(device)->GetNodeMap() : nullptr;

    for (const ToolTipRow& row : table) {
        if (detailLevel < row.detailLevel)
            continue;

        GenICam::gcstring value;
        if (!row.propertyName.empty() && info.GetPropertyValue(row.propertyName, value)
            && !value.empty()) {
            // The enumeration's value wins over the node's.
            toolTip += row.label + formatValue(row, value.c_str()) + QLatin1Char('\n');
            continue;
        }

        GenApi::INode* node =
            (nodeMap && !row.nodeName.empty()) ? nodeMap->GetNode(row.nodeName) : nullptr;
        if (node) {
            GenApi::IValue* valueNode = dynamic_cast<GenApi::IValue*>(node);
            if (!valueNode)
                continue;
            const GenICam::gcstring text = valueNode->ToString(false, false);
            toolTip += row.label + formatValue(row, text.c_str()) + QLatin1Char('\n');
        } else if (row.propertyName.empty() && row.nodeName.empty() && row.label.isEmpty()) {
            // A row with nothing in it stands for a blank line.
            toolTip += row.label + QLatin1Char('\n');
        }
    }
    return toolTip.trimmed();
}
