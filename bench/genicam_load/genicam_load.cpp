// genicam_load: loads every description of the shared folder and a generated description of
// 5000 features into our engine and into aravis's GenICam tree (arv_gc_new) in the same run,
// reads every readable feature with each, and prints load time, read times, peak memory and
// the ratio ours/aravis. Both read through a device whose registers are all zero.
//
// Usage: genicam_load [folder-of-descriptions]

#include <arv.h>

#include <GenApi/GenApi.h>

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

using namespace GenApi;

// ---------------------------------------------------------------- zero devices

namespace
{
    //! Our side: a port whose registers are all zero at every address
    class ZeroPort : public CPortImpl
    {
    public:
        void Read(void* pBuffer, int64_t, int64_t Length) override { std::memset(pBuffer, 0, size_t(Length)); }
        void Write(const void*, int64_t, int64_t) override {}
    };
}

// aravis's side: an ArvDevice whose registers are all zero
extern "C" {
typedef struct
{
    ArvDevice parent;
} BenchZeroDevice;
typedef struct
{
    ArvDeviceClass parent_class;
} BenchZeroDeviceClass;
G_DEFINE_TYPE(BenchZeroDevice, bench_zero_device, ARV_TYPE_DEVICE)

static gboolean zero_read_memory(ArvDevice*, guint64, guint32 size, void* buffer, GError**)
{
    std::memset(buffer, 0, size);
    return TRUE;
}
static gboolean zero_write_memory(ArvDevice*, guint64, guint32, void*, GError**) { return TRUE; }
static gboolean zero_read_register(ArvDevice*, guint64, guint32* value, GError**)
{
    *value = 0;
    return TRUE;
}
static gboolean zero_write_register(ArvDevice*, guint64, guint32, GError**) { return TRUE; }
static void bench_zero_device_init(BenchZeroDevice*) {}
static void bench_zero_device_class_init(BenchZeroDeviceClass* klass)
{
    ArvDeviceClass* device = ARV_DEVICE_CLASS(klass);
    device->read_memory = zero_read_memory;
    device->write_memory = zero_write_memory;
    device->read_register = zero_read_register;
    device->write_register = zero_write_register;
}
}

// ---------------------------------------------------------------- helpers

namespace
{
    // CPU time of the process (the benchmark runs on one thread): other programs on a busy
    // machine do not count against either side
    struct Clock
    {
        using time_point = double;
        static double now() { return double(std::clock()) * 1000.0 / CLOCKS_PER_SEC; }
    };

    double msSince(double start) { return Clock::now() - start; }

    long statusKb(const char* field)
    {
        std::ifstream in("/proc/self/status");
        std::string line;
        const size_t n = std::strlen(field);
        while (std::getline(in, line))
            if (line.compare(0, n, field) == 0)
                return std::atol(line.c_str() + n + 1);
        return -1;
    }

    struct Memory
    {
        long peakKb = -1; // peak resident growth while loading
        long heldKb = -1; // heap still in use after loading
    };

    //! Memory that `work` takes, measured in a child process: the child returns free heap to
    //! the system and resets its peak first, so earlier runs do not hide the growth
    Memory memoryOf(const std::function<void()>& work)
    {
        int fds[2];
        Memory m;
        if (pipe(fds) != 0)
            return m;
        const pid_t pid = fork();
        if (pid == 0)
        {
            close(fds[0]);
            malloc_trim(0);
            {
                std::ofstream clear("/proc/self/clear_refs");
                clear << "5";
            }
            const long before = statusKb("VmRSS:");
            const size_t heapBefore = mallinfo2().uordblks;
            work();
            Memory r;
            r.peakKb = statusKb("VmHWM:") - before;
            r.heldKb = long((mallinfo2().uordblks - heapBefore) / 1024);
            if (write(fds[1], &r, sizeof r) != sizeof r)
                _exit(1);
            _exit(0);
        }
        close(fds[1]);
        if (read(fds[0], &m, sizeof m) != sizeof m)
            m = Memory();
        close(fds[0]);
        int status = 0;
        waitpid(pid, &status, 0);
        return m;
    }

    std::string readFile(const std::string& path)
    {
        std::ifstream in(path, std::ios::binary);
        std::stringstream ss;
        ss << in.rdbuf();
        return ss.str();
    }

    //! aravis wants the XML without what some files carry before the first '<'
    std::string fromFirstTag(const std::string& xml)
    {
        const size_t at = xml.find('<');
        return at == std::string::npos ? std::string() : xml.substr(at);
    }

    std::string generatedDescription(int features)
    {
        std::string xml = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                          "<RegisterDescription ModelName=\"Generated\" VendorName=\"Bench\" StandardNameSpace=\"None\" "
                          "SchemaMajorVersion=\"1\" SchemaMinorVersion=\"1\" SchemaSubMinorVersion=\"0\" MajorVersion=\"1\" "
                          "MinorVersion=\"0\" SubMinorVersion=\"0\" ProductGuid=\"0\" VersionGuid=\"0\" "
                          "xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">\n<Category Name=\"Root\">";
        for (int i = 0; i < features; ++i)
            xml += "<pFeature>F" + std::to_string(i) + "</pFeature>";
        xml += "</Category>\n";
        for (int i = 0; i < features; ++i)
        {
            const std::string n = "F" + std::to_string(i);
            const std::string address = std::to_string(0x10000 + 8 * i);
            switch (i % 5)
            {
            case 0:
            case 1:
                xml += "<Integer Name=\"" + n + "\"><ToolTip>Integer feature " + n + "</ToolTip><pValue>" + n
                       + "Reg</pValue><Min>0</Min><Max>65535</Max></Integer>\n<IntReg Name=\"" + n
                       + "Reg\"><Address>" + address
                       + "</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>"
                         "<Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>\n";
                break;
            case 2:
                xml += "<Float Name=\"" + n + "\"><ToolTip>Float feature</ToolTip><pValue>" + n
                       + "Reg</pValue><Min>-1000</Min><Max>1000</Max><Unit>us</Unit></Float>\n<FloatReg Name=\"" + n
                       + "Reg\"><Address>" + address
                       + "</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>"
                         "<Endianess>LittleEndian</Endianess></FloatReg>\n";
                break;
            case 3:
                xml += "<Enumeration Name=\"" + n + "\"><ToolTip>Enumeration feature</ToolTip>"
                       "<EnumEntry Name=\"Zero\"><Value>0</Value></EnumEntry>"
                       "<EnumEntry Name=\"One\"><Value>1</Value></EnumEntry>"
                       "<EnumEntry Name=\"Two\"><Value>2</Value></EnumEntry><pValue>" + n
                       + "Reg</pValue></Enumeration>\n<IntReg Name=\"" + n + "Reg\"><Address>" + address
                       + "</Address><Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>"
                         "<Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>\n";
                break;
            default:
                xml += "<IntSwissKnife Name=\"" + n + "\"><ToolTip>Computed feature</ToolTip><pVariable Name=\"A\">F"
                       + std::to_string(i - 4) + "</pVariable><pVariable Name=\"B\">F" + std::to_string(i - 3)
                       + "</pVariable><Formula>A * 2 + B + 1</Formula></IntSwissKnife>\n";
                break;
            }
        }
        xml += "<Port Name=\"Device\"/>\n</RegisterDescription>\n";
        return xml;
    }

    struct Figures
    {
        double loadMs = 0;
        double firstReadMs = 0;
        double cachedReadMs = 0;
        Memory memory;
        int features = 0;
        int read = 0;
    };

    const int kRepeats = 15;

    //! Best load time of one engine; the two engines' loads alternate, so that both meet the
    //! same conditions on a machine shared with other work
    double bestLoad(const std::string& xml, bool aravis)
    {
        static std::string cachedXml;
        static double best[2];
        if (cachedXml != xml)
        {
            cachedXml = xml;
            const std::string bare = fromFirstTag(xml);
            ArvDevice* device = ARV_DEVICE(g_object_new(bench_zero_device_get_type(), nullptr));
            best[0] = best[1] = 1e300;
            for (int i = 0; i < kRepeats; ++i)
            {
                double t = Clock::now();
                {
                    CNodeMapRef map;
                    map._LoadXMLFromString(xml);
                }
                best[0] = std::min(best[0], Clock::now() - t);
                t = Clock::now();
                ArvGc* gc = arv_gc_new(device, bare.data(), bare.size());
                g_object_unref(gc);
                best[1] = std::min(best[1], Clock::now() - t);
            }
            g_object_unref(device);
        }
        return best[aravis ? 1 : 0];
    }

    //! Names of the features both engines read: readable values reachable from Root
    std::vector<std::string> featureNames(INodeMap* map)
    {
        std::vector<std::string> names;
        NodeList_t nodes;
        map->GetNodes(nodes);
        for (INode* n : nodes)
        {
            if (!n->IsFeature() || n->GetPrincipalInterfaceType() == intfICategory)
                continue;
            if (!dynamic_cast<IValue*>(n))
                continue;
            names.push_back(std::string(n->GetName()));
        }
        return names;
    }

    Figures measureOurs(const std::string& xml, const std::vector<std::string>& names)
    {
        Figures f;
        f.loadMs = bestLoad(xml, false);
        CNodeMapRef map;
        map._LoadXMLFromString(xml);
        ZeroPort port;
        map._Connect(&port);
        auto pass = [&](int& readCount) {
            readCount = 0;
            for (const std::string& name : names)
            {
                try
                {
                    INode* node = map._GetNode(name);
                    if (!node || !IsReadable(node->GetAccessMode()))
                        continue;
                    dynamic_cast<IValue*>(node)->ToString();
                    ++readCount;
                }
                catch (const GenICam::GenericException&)
                {
                }
            }
        };
        auto t = Clock::now();
        pass(f.read);
        f.firstReadMs = msSince(t);
        f.cachedReadMs = 1e300;
        for (int i = 0; i < kRepeats; ++i)
        {
            int n = 0;
            t = Clock::now();
            pass(n);
            f.cachedReadMs = std::min(f.cachedReadMs, msSince(t));
        }
        f.features = int(names.size());
        f.memory = memoryOf([&] {
            // Kept alive until measured: the node map is what stays in memory
            static CNodeMapRef m;
            m._LoadXMLFromString(xml);
        });
        return f;
    }

    Figures measureAravis(const std::string& xmlWithHeader, const std::vector<std::string>& names)
    {
        const std::string xml = fromFirstTag(xmlWithHeader);
        Figures f;
        ArvDevice* device = ARV_DEVICE(g_object_new(bench_zero_device_get_type(), nullptr));
        f.loadMs = bestLoad(xmlWithHeader, true);
        ArvGc* gc = arv_gc_new(device, xml.data(), xml.size());
        arv_gc_set_register_cache_policy(gc, ARV_REGISTER_CACHE_POLICY_ENABLE);
        auto pass = [&](int& readCount) {
            readCount = 0;
            for (const std::string& name : names)
            {
                ArvGcNode* node = arv_gc_get_node(gc, name.c_str());
                if (!node || !ARV_IS_GC_FEATURE_NODE(node))
                    continue;
                ArvGcFeatureNode* feature = ARV_GC_FEATURE_NODE(node);
                GError* error = nullptr;
                if (!arv_gc_feature_node_is_implemented(feature, &error) || error
                    || !arv_gc_feature_node_is_available(feature, &error) || error
                    || arv_gc_feature_node_get_actual_access_mode(feature) == ARV_GC_ACCESS_MODE_WO)
                {
                    g_clear_error(&error);
                    continue;
                }
                arv_gc_feature_node_get_value_as_string(feature, &error);
                if (error)
                    g_clear_error(&error);
                else
                    ++readCount;
            }
        };
        auto t = Clock::now();
        pass(f.read);
        f.firstReadMs = msSince(t);
        f.cachedReadMs = 1e300;
        for (int i = 0; i < kRepeats; ++i)
        {
            int n = 0;
            t = Clock::now();
            pass(n);
            f.cachedReadMs = std::min(f.cachedReadMs, msSince(t));
        }
        f.features = int(names.size());
        g_object_unref(gc);
        f.memory = memoryOf([&] {
            ArvGc* g = arv_gc_new(device, xml.data(), xml.size());
            (void)g;
        });
        g_object_unref(device);
        return f;
    }

    void report(const std::string& name, size_t xmlBytes, const Figures& ours, const Figures& theirs)
    {
        auto ratio = [](double a, double b) { return b > 0 ? a / b : 0.0; };
        std::printf("%-30s %6zu  %7.2f %7.2f %5.2f  %7.3f %7.3f %5.2f  %7.3f %7.3f %5.2f  %6ld %6ld %5.2f  %6ld %6ld %5.2f  %5d/%-5d %5d\n",
                    name.c_str(), xmlBytes / 1024, ours.loadMs, theirs.loadMs, ratio(ours.loadMs, theirs.loadMs),
                    ours.firstReadMs, theirs.firstReadMs, ratio(ours.firstReadMs, theirs.firstReadMs),
                    ours.cachedReadMs, theirs.cachedReadMs, ratio(ours.cachedReadMs, theirs.cachedReadMs),
                    ours.memory.peakKb, theirs.memory.peakKb, ratio(double(ours.memory.peakKb) * 1024, double(xmlBytes)),
                    ours.memory.heldKb, theirs.memory.heldKb, ratio(double(ours.memory.heldKb) * 1024, double(xmlBytes)),
                    ours.read, theirs.read, ours.features);
        std::fflush(stdout);
    }
}

int main(int argc, char** argv)
{
    const std::string folder = argc > 1 ? argv[1] : VORLO_GENICAM_XML_DIR;
    std::vector<std::string> files;
    if (DIR* dir = opendir(folder.c_str()))
    {
        while (dirent* e = readdir(dir))
        {
            const std::string n = e->d_name;
            if (n.size() > 4 && n.compare(n.size() - 4, 4, ".xml") == 0)
                files.push_back(n);
        }
        closedir(dir);
    }
    std::sort(files.begin(), files.end());

    std::printf("Times in ms of CPU time (best of %d): load; read1 = first read of every readable feature (through the\n"
                "zero device); cached = the same again. ratio = ours / aravis.\n"
                "Memory in kB, measured in a child process: peak = resident growth while loading, held = heap in use\n"
                "after loading; /xml = ours divided by the size of the XML. read = features read ours/aravis of total.\n\n",
                kRepeats);
    std::printf("%-30s %6s  %7s %7s %5s  %7s %7s %5s  %7s %7s %5s  %6s %6s %5s  %6s %6s %5s  %11s %5s\n", "description",
                "xml kB", "load", "aravis", "ratio", "read1", "aravis", "ratio", "cached", "aravis", "ratio", "peak",
                "aravis", "/xml", "held", "aravis", "/xml", "read", "total");

    auto run = [&](const std::string& name, const std::string& xml) {
        std::vector<std::string> names;
        try
        {
            CNodeMapRef probe;
            probe._LoadXMLFromString(xml);
            names = featureNames(probe._Ptr);
        }
        catch (const GenICam::GenericException& e)
        {
            std::printf("%-34s does not load: %s\n", name.c_str(), e.GetDescription());
            return;
        }
        const Figures ours = measureOurs(xml, names);
        const Figures theirs = measureAravis(xml, names);
        report(name, xml.size(), ours, theirs);
    };

    for (const std::string& f : files)
        run(f, readFile(folder + "/" + f));
    run("generated, 5000 features", generatedDescription(5000));
    return 0;
}
