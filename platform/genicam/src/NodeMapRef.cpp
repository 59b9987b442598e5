#include <GenApi/NodeMapRef.h>

#include "NodeMapImpl.h"

#include <zip.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <vector>

namespace GenApi
{

    CNodeMapRef::CNodeMapRef(const gcstring& DeviceName) : _Ptr(nullptr), m_DeviceName(DeviceName) {}

    CNodeMapRef::CNodeMapRef(const CNodeMapRef& other)
        : _Ptr(other._Ptr), m_DeviceName(other.m_DeviceName), m_pMap(other.m_pMap)
    {
    }

    CNodeMapRef& CNodeMapRef::operator=(const CNodeMapRef& other)
    {
        if (this != &other)
        {
            m_DeviceName = other.m_DeviceName;
            m_pMap = other.m_pMap;
            _Ptr = other._Ptr;
        }
        return *this;
    }

    CNodeMapRef::~CNodeMapRef() = default;

    namespace
    {
        std::shared_ptr<CNodeMapImpl> LoadNew(const std::string& DeviceName, const char* pData, size_t Size)
        {
            auto map = std::make_shared<CNodeMapImpl>(DeviceName);
            map->Load(pData, Size);
            return map;
        }

        std::vector<char> ReadFile(const std::string& FileName)
        {
            std::ifstream in(FileName, std::ios::binary);
            if (!in)
                throw RUNTIME_EXCEPTION("Cannot open the file '%s'", FileName.c_str());
            std::vector<char> data((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
            if (in.bad())
                throw RUNTIME_EXCEPTION("Cannot read the file '%s'", FileName.c_str());
            return data;
        }

        std::vector<char> UnzipDescription(const void* pZipData, size_t ZipSize)
        {
            zip_error_t error;
            zip_error_init(&error);
            zip_source_t* source = zip_source_buffer_create(pZipData, ZipSize, 0, &error);
            if (!source)
            {
                const std::string text = zip_error_strerror(&error);
                zip_error_fini(&error);
                throw RUNTIME_EXCEPTION("Cannot read the zipped description: %s", text.c_str());
            }
            zip_t* archive = zip_open_from_source(source, ZIP_RDONLY, &error);
            if (!archive)
            {
                zip_source_free(source);
                const std::string text = zip_error_strerror(&error);
                zip_error_fini(&error);
                throw RUNTIME_EXCEPTION("The zipped description is not a zip archive: %s", text.c_str());
            }
            zip_error_fini(&error);
            const zip_int64_t count = zip_get_num_entries(archive, 0);
            zip_int64_t found = -1;
            for (zip_int64_t i = 0; i < count && found < 0; ++i)
            {
                const char* name = zip_get_name(archive, static_cast<zip_uint64_t>(i), 0);
                if (!name)
                    continue;
                const size_t len = std::strlen(name);
                if (len >= 4 && strcasecmp(name + len - 4, ".xml") == 0)
                    found = i;
            }
            if (found < 0)
            {
                zip_close(archive);
                throw RUNTIME_EXCEPTION("The zip archive holds no .xml file");
            }
            zip_stat_t st;
            zip_stat_init(&st);
            if (zip_stat_index(archive, static_cast<zip_uint64_t>(found), 0, &st) != 0 || !(st.valid & ZIP_STAT_SIZE)
                || st.size > (zip_uint64_t(1) << 31))
            {
                zip_close(archive);
                throw RUNTIME_EXCEPTION("The zipped description has no usable size");
            }
            std::vector<char> data(static_cast<size_t>(st.size));
            zip_file_t* file = zip_fopen_index(archive, static_cast<zip_uint64_t>(found), 0);
            if (!file)
            {
                zip_close(archive);
                throw RUNTIME_EXCEPTION("Cannot open the zipped description");
            }
            zip_int64_t total = 0;
            while (total < static_cast<zip_int64_t>(data.size()))
            {
                const zip_int64_t n = zip_fread(file, data.data() + total, data.size() - static_cast<size_t>(total));
                if (n <= 0)
                    break;
                total += n;
            }
            zip_fclose(file);
            zip_close(archive);
            if (total != static_cast<zip_int64_t>(data.size()))
                throw RUNTIME_EXCEPTION("The zipped description is damaged (read %lld of %zu bytes)",
                                        static_cast<long long>(total), data.size());
            return data;
        }
    }

    void CNodeMapRef::_LoadXMLFromFile(const gcstring& FileName)
    {
        if (m_pMap)
            throw RUNTIME_EXCEPTION("A description is already loaded into this node map");
        const std::vector<char> data = ReadFile(FileName);
        m_pMap = LoadNew(m_DeviceName, data.data(), data.size());
        _Ptr = m_pMap.get();
    }

    void CNodeMapRef::_LoadXMLFromString(const gcstring& XMLData)
    {
        if (m_pMap)
            throw RUNTIME_EXCEPTION("A description is already loaded into this node map");
        m_pMap = LoadNew(m_DeviceName, XMLData.data(), XMLData.size());
        _Ptr = m_pMap.get();
    }

    void CNodeMapRef::_LoadXMLFromZIPFile(const gcstring& ZipFileName)
    {
        if (m_pMap)
            throw RUNTIME_EXCEPTION("A description is already loaded into this node map");
        const std::vector<char> zipData = ReadFile(ZipFileName);
        _LoadXMLFromZIPData(zipData.data(), zipData.size());
    }

    void CNodeMapRef::_LoadXMLFromZIPData(const void* zipData, size_t zipSize)
    {
        if (m_pMap)
            throw RUNTIME_EXCEPTION("A description is already loaded into this node map");
        CHECK_NULL_ARGUMENT(zipData);
        const std::vector<char> data = UnzipDescription(zipData, zipSize);
        m_pMap = LoadNew(m_DeviceName, data.data(), data.size());
        _Ptr = m_pMap.get();
    }

    bool CNodeMapRef::_Connect(IPort* pPort, const gcstring& PortName) const
    {
        if (!_Ptr)
            throw LOGICAL_ERROR_EXCEPTION("NULL pointer dereferenced");
        return _Ptr->Connect(pPort, PortName);
    }

    bool CNodeMapRef::_Connect(IPort* pPort) const
    {
        if (!_Ptr)
            throw LOGICAL_ERROR_EXCEPTION("NULL pointer dereferenced");
        return _Ptr->Connect(pPort);
    }

    INode* CNodeMapRef::_GetNode(const gcstring& Name) const
    {
        if (!_Ptr)
            throw LOGICAL_ERROR_EXCEPTION("NULL pointer dereferenced");
        return _Ptr->GetNode(Name);
    }

    void CNodeMapRef::_Poll(int64_t ElapsedTime)
    {
        if (!_Ptr)
            throw LOGICAL_ERROR_EXCEPTION("NULL pointer dereferenced");
        _Ptr->Poll(ElapsedTime);
    }

    void CNodeMapRef::_InvalidateNodes() const
    {
        if (!_Ptr)
            throw LOGICAL_ERROR_EXCEPTION("NULL pointer dereferenced");
        _Ptr->InvalidateNodes();
    }

    gcstring CNodeMapRef::_GetDeviceName() const { return m_DeviceName; }
    INodeMap* CNodeMapRef::_GetNodeMap() const { return _Ptr; }

    void CNodeMapRef::_Destroy()
    {
        m_pMap.reset();
        _Ptr = nullptr;
    }
}
