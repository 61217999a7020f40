// SPDX-License-Identifier: Apache-2.0
#include "broker/CmpiBroker_ProviderProvider.h"

#include <string>

#include "broker/CmpiBroker_Exception.h"
#include "broker/CmpiBroker_ProviderManager.h"

namespace brv {

namespace {

constexpr char kProviderClass[] = "BRV_Provider";
constexpr char kCapabilitiesClass[] = "BRV_ProviderCapabilities";
constexpr const char* kClasses[] = {kProviderClass, kCapabilitiesClass, nullptr};

constexpr CmpiBroker_ProviderInfo PROVIDER_PROVIDER_INFO = {
    kClasses,
    CmpiBroker_ObjectPath::kDefaultNameSpace,
    "BRV_ProviderProvider",
    "BRV_ProviderProvider",
    CmpiBroker_ProviderInfo::kInstanceProvider,
    nullptr,
    nullptr,
    nullptr};

constexpr char kString[] = "string";
constexpr char kStrings[] = "string[] sep=;";
constexpr char kUint16s[] = "uint16[] sep=;";

std::string joinedClasses(const CmpiBroker_ProviderInfo& info) {
  std::string joined;
  for (const char* const* name = info.classes; name != nullptr && *name != nullptr; ++name) {
    if (!joined.empty()) joined += ';';
    joined += *name;
  }
  return joined;
}

void describe(const CmpiBroker_Provider& provider, CIMObject& object) {
  const CmpiBroker_ProviderInfo& info = provider.info();
  const std::string classes = joinedClasses(info);
  const std::string details = provider.getStatusDetails();
  object.reserve(8);
  object.AddCopy("InstanceID", info.providerName, kString);
  object.AddCopy("Name", info.providerName, kString);
  if (!provider.libraryPath().empty())
    object.AddCopy("Handle", provider.libraryPath().c_str(), kString);
  object.AddCopy("Interface", "2", kString);
  if (!classes.empty()) object.AddCopy("ClassName", classes.c_str(), kStrings);
  object.AddCopy("Namespaces", info.nameSpace, kStrings);
  object.AddCopy("OperationalStatus", std::to_string(provider.status()).c_str(), kUint16s);
  if (!details.empty()) object.AddCopy("StatusDescriptions", details.c_str(), kStrings);
}

void describeCapabilities(const CmpiBroker_ProviderInfo& info, List<CIMObject>& out) {
  std::string id = std::string(info.providerName) + "Capabilities";
  if (const auto place = id.find('_'); place != std::string::npos) id[place] = ':';
  for (const char* const* name = info.classes; name != nullptr && *name != nullptr; ++name) {
    CIMObject& object = out.emplace();
    object.reserve(4);
    object.AddCopy("CreationClassName", kCapabilitiesClass, kString);
    object.AddCopy("InstanceID", id.c_str(), kString);
    object.AddCopy("ProviderName", info.providerName, kString);
    object.AddCopy("ClassName", *name, kString);
  }
}

}  // namespace

CmpiBroker_ProviderProvider::CmpiBroker_ProviderProvider(CmpiBroker_ProviderManager& manager,
                                                         CmpiBroker_Broker& broker)
    : CmpiBroker_Provider(&PROVIDER_PROVIDER_INFO, broker), m_manager(manager) {}

void CmpiBroker_ProviderProvider::load() {
  setStatus(kLoaded);
}

void CmpiBroker_ProviderProvider::enumInstances(CmpiBroker_Request& request, List<CIMObject>& out) {
  const Text className = request.objectPath().getClassName();
  if (className.isNull()) BRV_THROW(CmpiBroker_InvalidArgumentException("Invalid argument"));
  const bool listing = className.view() == kProviderClass;
  if (!listing && className.view() != kCapabilitiesClass)
    BRV_THROW(CmpiBroker_InvalidArgumentException("Invalid class specified"));
  m_manager.loadAllProvider(true, true);
  for (const CmpiBroker_Provider& provider : m_manager.providers()) {
    if (listing) {
      describe(provider, out.emplace());
    } else if (provider.status() == kLoaded && !provider.serves(kCapabilitiesClass)) {
      describeCapabilities(provider.info(), out);
    }
  }
}

void CmpiBroker_ProviderProvider::associators(CmpiBroker_Request&, List<CIMObject>&) {
  BRV_THROW(CmpiBroker_NotSupportedException("Operation not supported"));
}

}  // namespace brv
