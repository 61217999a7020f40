// SPDX-License-Identifier: Apache-2.0
// The one place that names every provider of the program.
#include "broker/CmpiBroker_ProviderInfo.h"

#define BRV_INSTANCE_FACTORY(name)                                                           \
  extern "C" CMPIInstanceMI* name##_Create_InstanceMI(const CMPIBroker*, const CMPIContext*, \
                                                      CMPIStatus*)
BRV_INSTANCE_FACTORY(BRV_MetricProvider);
BRV_INSTANCE_FACTORY(BRV_OLMODDataProvider);
BRV_INSTANCE_FACTORY(BRVVMware_VirtualMetricProvider);
BRV_INSTANCE_FACTORY(BRVVMware_VirtualOLMODDataProvider);
BRV_INSTANCE_FACTORY(BRVKVM_VirtualMetricProvider);
BRV_INSTANCE_FACTORY(BRVKVM_VirtualOLMODDataProvider);
BRV_INSTANCE_FACTORY(BRVXen_VirtualMetricProvider);
BRV_INSTANCE_FACTORY(BRVXen_VirtualOLMODDataProvider);
BRV_INSTANCE_FACTORY(BRVHitachi_VirtualMetricProvider);
BRV_INSTANCE_FACTORY(BRVHitachi_VirtualOLMODDataProvider);
BRV_INSTANCE_FACTORY(BRVAmazon_VirtualMetricProvider);
BRV_INSTANCE_FACTORY(BRVAmazon_VirtualOLMODDataProvider);
#undef BRV_INSTANCE_FACTORY
extern "C" CMPIAssociationMI* BRVAmazon_VirtualOLMODDataProvider_Create_AssociationMI(
    const CMPIBroker*, const CMPIContext*, CMPIStatus*);

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
constexpr char kVMwareValue[] = "BRVVMware_MetricValue";
constexpr char kVMwareDefinition[] = "BRVVMware_MetricDefinition";
constexpr char kKVMValue[] = "BRVKVM_MetricValue";
constexpr char kKVMDefinition[] = "BRVKVM_MetricDefinition";
constexpr char kXenValue[] = "BRVXen_MetricValue";
constexpr char kXenDefinition[] = "BRVXen_MetricDefinition";
constexpr char kHitachiValue[] = "BRVHitachi_MetricValue";
constexpr char kHitachiDefinition[] = "BRVHitachi_MetricDefinition";
constexpr char kAmazonValue[] = "BRVAmazon_MetricValue";
constexpr char kAmazonDefinition[] = "BRVAmazon_MetricDefinition";
constexpr char kHostComputerSystem[] = "BRV_OLMODHostComputerSystem";
constexpr char kVirtualComputerSystem[] = "BRV_OLMODVirtualComputerSystem";
constexpr char kVirtualStorage[] = "BRV_OLMODVirtualStorage";
constexpr char kVirtualNetworkPort[] = "BRV_OLMODVirtualNetworkPort";
constexpr char kHostProcessor[] = "BRV_OLMODHostComputerSystemProcessor";
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

constexpr CmpiBroker_ProviderInfo withAssociations(CmpiBroker_ProviderInfo provider,
                                                   CMPICreateAssociationMI factory) {
  provider.type |= CmpiBroker_ProviderInfo::kAssociationProvider;
  provider.createAssociationMI = factory;
  return provider;
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
    compiledIn<kMetricValue, kMetricDefinition, kVMwareValue, kVMwareDefinition>(
        "BRVVMware_VirtualMetricProvider", BRVVMware_VirtualMetricProvider_Create_InstanceMI),
    compiledIn<kHostComputerSystem, kVirtualComputerSystem, kVirtualStorage, kVirtualNetworkPort>(
        "BRVVMware_VirtualOLMODDataProvider", BRVVMware_VirtualOLMODDataProvider_Create_InstanceMI),
    compiledIn<kMetricValue, kMetricDefinition, kKVMValue, kKVMDefinition>(
        "BRVKVM_VirtualMetricProvider", BRVKVM_VirtualMetricProvider_Create_InstanceMI),
    compiledIn<kHostComputerSystem, kVirtualComputerSystem>(
        "BRVKVM_VirtualOLMODDataProvider", BRVKVM_VirtualOLMODDataProvider_Create_InstanceMI),
    compiledIn<kMetricValue, kMetricDefinition, kXenValue, kXenDefinition>(
        "BRVXen_VirtualMetricProvider", BRVXen_VirtualMetricProvider_Create_InstanceMI),
    compiledIn<kHostComputerSystem, kVirtualComputerSystem>(
        "BRVXen_VirtualOLMODDataProvider", BRVXen_VirtualOLMODDataProvider_Create_InstanceMI),
    compiledIn<kMetricValue, kMetricDefinition, kHitachiValue, kHitachiDefinition>(
        "BRVHitachi_VirtualMetricProvider", BRVHitachi_VirtualMetricProvider_Create_InstanceMI),
    compiledIn<kHostComputerSystem, kVirtualComputerSystem>(
        "BRVHitachi_VirtualOLMODDataProvider",
        BRVHitachi_VirtualOLMODDataProvider_Create_InstanceMI),
    compiledIn<kMetricValue, kMetricDefinition, kAmazonValue, kAmazonDefinition>(
        "BRVAmazon_VirtualMetricProvider", BRVAmazon_VirtualMetricProvider_Create_InstanceMI),
    withAssociations(compiledIn<kHostComputerSystem, kVirtualComputerSystem, kVirtualStorage,
                                kVirtualNetworkPort, kHostProcessor>(
                         "BRVAmazon_VirtualOLMODDataProvider",
                         BRVAmazon_VirtualOLMODDataProvider_Create_InstanceMI),
                     BRVAmazon_VirtualOLMODDataProvider_Create_AssociationMI),
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
