// SPDX-License-Identifier: Apache-2.0
// The one place that names every provider of the program.
#include "broker/CmpiBroker_ProviderInfo.h"

extern "C" {
CMPIInstanceMI* BRV_MetricProvider_Create_InstanceMI(const CMPIBroker*, const CMPIContext*,
                                                     CMPIStatus*);
CMPIInstanceMI* BRV_OLMODDataProvider_Create_InstanceMI(const CMPIBroker*, const CMPIContext*,
                                                        CMPIStatus*);
}

namespace brv {

namespace {

constexpr char kNameSpace[] = "root/cimv2";

// A null-ended list of class names with static storage.
template <const char*... Names>
struct Classes {
  static constexpr const char* list[] = {Names..., nullptr};
};

constexpr char kMetricValue[] = "BRV_MetricValue";
constexpr char kMetricDefinition[] = "BRV_MetricDefinition";
constexpr char kComputerSystem[] = "BRV_OLMODComputerSystem";
constexpr char kOperatingSystem[] = "BRV_OLMODOperatingSystem";
constexpr char kProcessor[] = "BRV_OLMODProcessor";
constexpr char kFileSystem[] = "BRV_OLMODFileSystem";
constexpr char kGpfsFileSystem[] = "BRV_OLMODGPFSFileSystem";
constexpr char kNetworkPort[] = "BRV_OLMODNetworkPort";
constexpr char kSoftwarePackage[] = "BRV_OLMODSoftwarePackage";
constexpr char kSoftwarePatch[] = "BRV_OLMODSoftwarePatch";
constexpr char kOSProcess[] = "BRV_OLMODOSProcess";
constexpr char kCapabilities[] = "BRV_ProviderCapabilities";
constexpr char kLinuxOperatingSystem[] = "Linux_OperatingSystem";
constexpr char kLinuxComputerSystem[] = "Linux_ComputerSystem";
constexpr char kLinuxProcessor[] = "Linux_Processor";
constexpr char kLinuxEthernetPort[] = "Linux_EthernetPort";
constexpr char kUnixLocalFileSystem[] = "CIM_UnixLocalFileSystem";
constexpr char kLinuxNfs[] = "Linux_NFS";
constexpr char kLinuxUnixProcess[] = "Linux_UnixProcess";

// A provider compiled in, which publishes its capabilities itself.
template <const char*... Names>
constexpr CmpiBroker_ProviderInfo compiledIn(const char* name, CMPICreateInstanceMI factory) {
  return {Classes<Names..., kCapabilities>::list,     kNameSpace, name,    name,
          CmpiBroker_ProviderInfo::kInstanceProvider, factory,    nullptr, nullptr};
}

// An instance provider in a library of the operating system.
template <const char*... Names>
constexpr CmpiBroker_ProviderInfo fromLibrary(const char* name, const char* module) {
  return {Classes<Names...>::list,
          kNameSpace,
          name,
          module,
          CmpiBroker_ProviderInfo::kInstanceProvider,
          nullptr,
          nullptr,
          nullptr};
}

}  // namespace

constexpr CmpiBroker_ProviderInfo CMPI_BROKER_PROVIDER_LIST[] = {
    compiledIn<kMetricValue, kMetricDefinition>("BRV_MetricProvider",
                                                BRV_MetricProvider_Create_InstanceMI),
    compiledIn<kComputerSystem, kOperatingSystem, kProcessor, kFileSystem, kGpfsFileSystem,
               kNetworkPort, kSoftwarePackage, kSoftwarePatch, kOSProcess>(
        "BRV_OLMODDataProvider", BRV_OLMODDataProvider_Create_InstanceMI),
    fromLibrary<kLinuxOperatingSystem>("OSBase_OperatingSystemProvider",
                                       "cmpiOSBase_OperatingSystemProvider"),
    fromLibrary<kLinuxComputerSystem>("OSBase_ComputerSystemProvider",
                                      "cmpiOSBase_ComputerSystemProvider"),
    fromLibrary<kLinuxProcessor>("OSBase_ProcessorProvider", "cmpiOSBase_ProcessorProvider"),
    fromLibrary<kLinuxEthernetPort>("OSBase_EthernetPortProvider",
                                    "cmpiOSBase_EthernetPortProvider"),
    fromLibrary<kUnixLocalFileSystem>("OSBase_LocalFileSystemProvider",
                                      "cmpiOSBase_LocalFileSystemProvider"),
    fromLibrary<kLinuxNfs>("OSBase_NFSProvider", "cmpiOSBase_NFSProvider"),
    fromLibrary<kLinuxUnixProcess>("OSBase_UnixProcessProvider", "cmpiOSBase_UnixProcessProvider"),
    {},
};

}  // namespace brv
