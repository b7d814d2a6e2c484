#pragma once

#include "UploadSysInfo.pb.h"

/** What the service's parts share: names, paths, command lines and answers. Constant before main runs. */
namespace DiagnosticFileSvc
{
// A macro, so that the paths below are put together by the compiler.
#define DFS_PERSISTENCE_SUBDIRECTORY "product-persistence/"
#define DFS_PERSISTENCE_DIRECTORY "/mnt/nv/" DFS_PERSISTENCE_SUBDIRECTORY

// Names of modules and tasks, in log lines and process listings
inline constexpr char kTriggerHandler[] = "DFTriggerHandler";
inline constexpr char kGatrixClient[] = "DFGatrixClient";
inline constexpr char kCliHandler[] = "DFCliHandler";
inline constexpr char kHarvestSysInfo[] = "DFHarvestSysInfo";
inline constexpr char kSpawner[] = "posixSpawnUtils";
inline constexpr char kUploadDiagnosticFiles[] = "DFUploadDiagnosticFiles";
inline constexpr char kDiagnosticLabel[] = "VRD9 Diagnostics";

// The persistence directory, its files, and the names of outputs
inline constexpr char kPersistenceSubdirectory[] = DFS_PERSISTENCE_SUBDIRECTORY;
inline constexpr char kPersistenceDirectory[] = DFS_PERSISTENCE_DIRECTORY;
inline constexpr char kOutputPrefix[] = "dfs_";
inline constexpr char kCustomOutputPrefix[] = "dfs_custom_";
inline constexpr char kUploadManifestFile[] = "dfs_uploadmanifest.json";
inline constexpr char kItemConfigurationFile[] = "DFSDiagItemConfigurationFile.json";
inline constexpr char kArchive[] = DFS_PERSISTENCE_DIRECTORY "dfs_diagfile.tar.gz";
inline constexpr char kEncryptExistingFileCommand[] = "dfs-encrypt-existing-file.sh ";
inline constexpr char kEncryptStringCommand[] = "dfs-encrypt-string.sh ";

/** What the device itself offers for an upload. */
struct BuiltInItem
{
    DFSCommonPB::HarvestType harvestType;
    DFSCommonPB::DiagFileType fileType;
    const char* subType;
    const char* input;  ///< A command line or a path.
    const char* output; ///< A file of the persistence directory.
};

inline constexpr auto kScript = DFSCommonPB::SCRIPT;
inline constexpr auto kFile = DFSCommonPB::EXISTING_FILE;

// The memory and disk script has the type of the list of free space, and the update files, plain text, end in ".json":
// kept.
inline constexpr BuiltInItem kBuiltInItems[] = {
    {kScript, DFSCommonPB::LOGREAD, "logread", "encrypt-logs dfs-pts-logs.sh", "dfs_logread.txt"},
    {kScript, DFSCommonPB::NETWORKING_INFO, "network info", "encrypt-logs dfs-networking-info.sh",
     "dfs_networkinginfo.txt"},
    {kFile, DFSCommonPB::PERSIST_MFGDATA, "mfg_data", "/persist/mfg_data.json", "dfs_mfg_data.json"},
    {kFile, DFSCommonPB::PROC_LOADAVG, "proc_loadavg", "/proc/loadavg", "dfs_proc_loadavg.txt"},
    {kScript, DFSCommonPB::DISK_FREE_INFO, "memory disk info", "encrypt-logs dfs-memory-disk.sh",
     "dfs_memory_disk.txt"},
    {kScript, DFSCommonPB::PROC_UPTIME, "uptime", "encrypt-logs dfs-uptime.sh", "dfs_uptime.txt"},
    {kScript, DFSCommonPB::MPSTAT, "mpstat", "encrypt-logs dfs-mpstat.sh", "dfs_mpstat.txt"},
    {kScript, DFSCommonPB::TOP, "top", "encrypt-logs dfs-top.sh", "dfs_top.txt"},
    {kFile, DFSCommonPB::SWUP_HSM_STATES, "swup_hsm_states", "/mnt/nv/update/SwUpHsmStates.txt",
     "dfs_SwUpHsmStates.json"},
    {kFile, DFSCommonPB::SWUP_SYS_STATUS, "swup_sys_status", "/mnt/nv/update/SwUpSystemStatus.txt",
     "dfs_SwUpSystemStatus.json"},
    {kFile, DFSCommonPB::SWUP_RELEASE_HISTORY, "swup_release_history", "/mnt/nv/update/SwUpReleaseHistory.txt",
     "dfs_SwUpReleaseHistory.json"},
    {kScript, DFSCommonPB::CORE_DUMP_FILE_LIST, "coredumpfilelist", "encrypt-logs ls -la /data/logs/core*",
     "dfs_coredump_filelist.txt"},
};

// Identity, version and token
inline constexpr char kTokenFile[] = DFS_PERSISTENCE_DIRECTORY "quillane_jwt.json";
inline constexpr char kVersionFile[] = "/opt/Vantor/etc/VantorVersion.json";
inline constexpr char kFallbackIdentifier[] = "99999";
inline constexpr char kFallbackVersion[] = "0.000.000";

// The cloud
inline constexpr char kDiagnosticsServiceHost[] = "diagnostics.vantor.example";
inline constexpr char kMetadataProxy[] = "localhost:8888";

// Answers to a request
inline constexpr char kBusyAnswer[] = "Unable to process request, system busy";
inline constexpr char kCustomFileNeedsOneType[] = "Custom file upload requires exactly one file type";
inline constexpr char kNoGatrixClientAnswer[] = "There is no client of the gateway";
inline constexpr char kInternalErrorAnswer[] = "Unable to process request, internal error";
inline constexpr char kNoUploadClientAnswer[] = "Unable to process request, the upload client cannot be started";

// Endpoints that the service offers on the gateway; the two for tests have no leading slash: kept
inline constexpr char kUploadEndpoint[] = "/dfservice/upload";
inline constexpr char kDiagItemRegistrationEndpoint[] = "/dfservice/diagitemregistration";
inline constexpr char kTestFilepathEndpoint[] = "dfservice/gettysburg_address_filepath";
inline constexpr char kTestFile[] = DFS_PERSISTENCE_DIRECTORY "Gettysburg_Address.txt";
inline constexpr char kTestPayloadEndpoint[] = "dfservice/luckiest_man_payload";
inline constexpr char kTestPayloadFile[] = DFS_PERSISTENCE_DIRECTORY "Dorvin_test.json";

inline constexpr char kSystemInfoEndpoint[] = "/system/info";

// Names that the product's parts agree on and this service does not use today
inline constexpr char kServiceTag[] = "DiagnosticFileSvc";
inline constexpr char kUploadExistingFile[] = "DFUploadExistingFile";
inline constexpr char kSeeManifest[] = "See Manifest";
inline constexpr char kRelativePersistenceDirectory[] = "mnt/nv/" DFS_PERSISTENCE_SUBDIRECTORY;
inline constexpr char kScratchFile[] = DFS_PERSISTENCE_DIRECTORY "DFTempFile.txt";
inline constexpr char kSiteScanScript[] = "encrypt-logs dfs-wifi-site-scan.sh";
inline constexpr char kSiteScanOutput[] = DFS_PERSISTENCE_DIRECTORY "dfs_sitescan.txt";
inline constexpr char kSiteScanCompressedOutput[] = DFS_PERSISTENCE_DIRECTORY "dfs_sitescan.txt.gz";
inline constexpr char kDiskFreeCommand[] = "encrypt-logs df -ahT";
inline constexpr char kDiskFreeOutput[] = DFS_PERSISTENCE_DIRECTORY "dfs_disk_free.txt";
inline constexpr char kMemoryInfo[] = "/proc/meminfo";
inline constexpr char kMemoryInfoOutput[] = DFS_PERSISTENCE_DIRECTORY "dfs_proc_meminfo.txt";
inline constexpr char kGatrixWebSocketConfiguration[] = "/opt/Vantor/etc/GatrixWSSCfg.json";
inline constexpr char kGatrixConfiguration[] = "/opt/Vantor/etc/GatrixCfg.json";
inline constexpr char kIdentityKeySet[] = "https://identity.vantor.example/.well-known/jwks.json";
inline constexpr char kProductIdentityKeySet[] = "https://product-identity.vantor.example/.well-known/jwks.json";
inline constexpr char kProductAccessBase[] = "https://product-access.vantor.example/products/";
inline constexpr char kConstantRetryPolicy[] = "constant";
inline constexpr char kExponentialRetryPolicy[] = "exponential";
inline constexpr char kFeatureDisabledAnswer[] = "Unable to process request, feature flag not set";
inline constexpr char kGatrixSelfService[] = "GatrixSelfService";
inline constexpr char kGatrixProxy[] = "GatrixProxy";
inline constexpr char kGatrixReady[] = "GatrixReady";
inline constexpr char kClientDisconnected[] = "ClientDisconnected";
inline constexpr char kNetworkPingEndpoint[] = "/network/ping";
inline constexpr char kSystemCapabilitiesEndpoint[] = "/system/capabilities";
inline constexpr char kInternalCapabilitiesEndpoint[] = "/internal/capabilities";
inline constexpr char kSubscription[] = "subscription";
inline constexpr char kRegister[] = "register";
inline constexpr char kDeregister[] = "deregister";
inline constexpr char kSystemErrorEndpoint[] = "/system/error";
inline constexpr char kPayloadPublish[] = "payload/publish";
inline constexpr char kPayloadConfiguration[] = "payload/cfg";
inline constexpr char kGatrixProxyStatusEndpoint[] = "/gatrix/proxy/status";
inline constexpr char kGatrixProxyRecreateEndpoint[] = "/gatrix/proxy/recreate";
inline constexpr char kConnectionReadyEndpoint[] = "/connectionReady";
inline constexpr char kClientDisconnectedEndpoint[] = "/internal/ClientDisconnected";
inline constexpr char kSubscriptionEndpoint[] = "/subscription";
inline constexpr char kRegisterEndpoint[] = "/register";
inline constexpr char kDeregisterEndpoint[] = "/deregister";
inline constexpr char kPayloadPublishEndpoint[] = "/payload/publish";
inline constexpr char kPayloadConfigurationEndpoint[] = "/payload/cfg";
inline constexpr char kProductTokenEndpoint[] = "/system/authentication/productToken";
inline constexpr char kAccessPointEndpoint[] = "/network/wifi/ap";
inline constexpr char kNetworkStatusEndpoint[] = "/network/status";
inline constexpr char kTravikAccountInfoEndpoint[] = "/system/travikAccountInfo";
inline constexpr char kAccountInfoEndpoint[] = "/system/travikAccountInfo";

#undef DFS_PERSISTENCE_DIRECTORY
#undef DFS_PERSISTENCE_SUBDIRECTORY
} // namespace DiagnosticFileSvc
