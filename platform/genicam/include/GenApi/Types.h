#pragma once
// Enumerations and list types of the GenApi interface.

#include <cstdint>
#include <vector>

#include <GenICam/GenICam.h>

namespace GenApi
{
    using GenICam::gcstring;
    using GenICam::gcstring_vector;
    using GenICam::CLock;
    using GenICam::AutoLock;
    using GenICam::Version_t;

    //! Access mode of a node
    typedef enum _EAccessMode
    {
        NI,                  //!< not implemented
        NA,                  //!< not available
        WO,                  //!< write only
        RO,                  //!< read only
        RW,                  //!< read and write
        _UndefinedAccesMode, //!< not yet known
        _CycleDetectAccesMode //!< used internally while the mode is being computed
    } EAccessMode;

    //! The user level at which a node is shown
    typedef enum _EVisibility
    {
        Beginner = 0,
        Expert = 1,
        Guru = 2,
        Invisible = 3,
        _UndefinedVisibility = 99
    } EVisibility;

    //! How a node caches its value
    typedef enum _ECachingMode
    {
        NoCache,      //!< every read goes to the device
        WriteThrough, //!< written values are cached too
        WriteAround,  //!< only read values are cached
        _UndefinedCachingMode
    } ECachingMode;

    //! How a number is best shown to a person
    typedef enum _ERepresentation
    {
        Linear,
        Logarithmic,
        Boolean,
        PureNumber,
        HexNumber,
        IPV4Address,
        MACAddress,
        _UndefinedRepresentation
    } ERepresentation;

    //! Byte order of a register
    typedef enum _EEndianess
    {
        BigEndian,
        LittleEndian,
        _UndefinedEndian
    } EEndianess;

    //! Whether a name is standardised or the vendor's own
    typedef enum _ENameSpace
    {
        Custom,
        Standard,
        _UndefinedNameSpace
    } ENameSpace;

    //! The standard a description's standard names follow
    typedef enum _EStandardNameSpace
    {
        None,
        GEV,
        IIDC,
        CL,
        USB,
        _UndefinedStandardNameSpace
    } EStandardNameSpace;

    //! Three-valued yes/no
    typedef enum _EYesNo
    {
        No = 0,
        Yes = 1,
        _UndefinedYesNo = 2
    } EYesNo;

    //! Sign of a register's integer
    typedef enum _ESign
    {
        Signed,
        Unsigned,
        _UndefinedSign
    } ESign;

    //! When a node callback runs relative to the node map's lock
    typedef enum _ECallbackType
    {
        cbPostInsideLock = 1,  //!< while the lock is still held
        cbPostOutsideLock = 2  //!< after the lock was released
    } ECallbackType;

    //! The interface that best describes a node
    typedef enum _EInterfaceType
    {
        intfIValue,
        intfIBase,
        intfIInteger,
        intfIBoolean,
        intfICommand,
        intfIFloat,
        intfIString,
        intfIRegister,
        intfICategory,
        intfIEnumeration,
        intfIEnumEntry,
        intfIPort
    } EInterfaceType;

    //! Kinds of links between nodes, for GetChildren and GetParents
    typedef enum _ELinkType
    {
        ctParentNodes,          //!< nodes that refer to this one
        ctReadingChildren,      //!< nodes read from when this node is read
        ctWritingChildren,      //!< nodes written to when this node is written
        ctInvalidatingChildren, //!< nodes whose change invalidates this one
        ctDependingNodes,       //!< nodes invalidated when this one changes
        ctTerminalNodes,        //!< register and floating nodes this node finally reads from
        ctValueChildren         //!< nodes that carry this node's value
    } ELinkType;

    //! Kind of increment of a number
    typedef enum _EIncMode
    {
        noIncrement,
        fixedIncrement,
        listIncrement
    } EIncMode;

    //! Direction of a converter formula
    typedef enum _EInputDirection
    {
        idFrom,
        idTo,
        idNone
    } EInputDirection;

    //! Slope of a converter
    typedef enum _ESlope
    {
        Increasing,
        Decreasing,
        Varying,
        Automatic,
        _UndefinedESlope
    } ESlope;

    //! Notation used to print a float
    typedef enum _EDisplayNotation
    {
        fnAutomatic,
        fnFixed,
        fnScientific,
        _UndefinedEDisplayNotation
    } EDisplayNotation;

    //! Schema version of a description
    typedef enum _EGenApiSchemaVersion
    {
        v1_0 = 1,
        v1_1 = 2,
        _Undefined = -1
    } EGenApiSchemaVersion;

    class INode;
    class IValue;

    //! A list of nodes
    class node_vector : public std::vector<INode*>
    {
    public:
        using std::vector<INode*>::vector;
        node_vector() = default;
    };

    //! A list of values
    class value_vector : public std::vector<IValue*>
    {
    public:
        using std::vector<IValue*>::vector;
        value_vector() = default;
    };

    typedef node_vector NodeList_t;
    typedef value_vector FeatureList_t;
    typedef gcstring_vector StringList_t;

    //! List of valid values of an integer
    class int64_autovector_t : public std::vector<int64_t>
    {
    public:
        using std::vector<int64_t>::vector;
        int64_autovector_t() = default;
    };

    //! List of valid values of a float
    class double_autovector_t : public std::vector<double>
    {
    public:
        using std::vector<double>::vector;
        double_autovector_t() = default;
    };

    //! Identifies a registered node callback: the address of the CNodeCallback object
    typedef intptr_t CallbackHandleType;
}
