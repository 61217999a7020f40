// SPDX-License-Identifier: Apache-2.0
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <exception>
#include <string>

#include "broker/CmpiBroker_Exception.h"
#include "broker/CmpiBroker_ProviderManager.h"
#include "cimb/CommandLine.h"
#include "cimb/PrintObjects.h"
#include "cimb/Startup.h"
#include "cimb/Usage.h"
#include "cimobject/CIMObject.h"
#include "cimobject/CIMRequest.h"
#include "cimobject/List.h"
#include "cimobject/SingletonHolder.h"
#include "runtime/UcText.h"

namespace brv {

namespace {

using ManagerHolder = SingletonHolder<CmpiBroker_ProviderManager>;

// The request option that a switch of the command line stands for.
std::int64_t optionFor(std::int32_t flag, CIMRequest::Option option) {
  return g_params.flags & flag ? static_cast<std::int64_t>(option) : 0;
}

void dispatch(List<CIMRequest>& requests, List<CIMObject>& results) {
  CmpiBroker_ProviderManager::setDefaultTable(CMPI_BROKER_PROVIDER_LIST);
  CmpiBroker_ProviderManager& manager = *ManagerHolder::GetInstance();
  const std::int64_t continueOnError =
      optionFor(kFlagContinueOnError, CIMRequest::kContinueOnError);
  switch (g_params.operation) {
    case kOperationEnumAll: {
      // The metadata switch does not concern this operation.
      CIMRequest request;
      request.addOption(continueOnError);
      manager.enumAllInstances(request, results);
      break;
    }
    case kOperationOLMOD:
      results.add(manager.getOLMODComputerSystem(
          continueOnError | optionFor(kFlagSoftwarePackages, CIMRequest::kSoftwarePackages) |
          optionFor(kFlagSoftwarePatches, CIMRequest::kSoftwarePatches)));
      break;
    case kOperationCapabilities:
      manager.getCapabilities(results);
      break;
    default:
      manager.processRequests(requests, results);
      break;
  }
}

// A library that stays open, perhaps with threads in it, still uses the broker and may not survive
// its own finalisers: the process then ends at once. Everything was written by then.
void destroyManager(int status) {
  CmpiBroker_ProviderManager* manager = ManagerHolder::m_instance;
  if (manager == nullptr) return;
  try {
    manager->release();
  } catch (const std::exception& error) {
    PrintError(error.what());
  }
  if (manager->keepsLibraries()) _exit(status);
  delete manager;
  ManagerHolder::m_instance = nullptr;
}

void report(const CmpiBroker_Exception& error) {
  try {
    PrintError(ucToUtf8(error.getErrorInfoU()).c_str());
  } catch (const std::exception&) {
    PrintError(error.what());  // needs no memory
  }
}

int run(int argc, char** argv) {
  List<CIMRequest> requests;
  if (!parseCommandLine(argc, argv, requests)) return 1;
  if (g_params.operation == kOperationHelp) {
    PrintUsage();
    return 0;
  }
  // Never destroyed: the process ends, and its memory with it, faster than many objects do.
  static auto& results = *new List<CIMObject>;
  dispatch(requests, results);
  if (const int error = PrintObjects(results); error != 0) {
    PrintError((std::string("cannot write the results: ") + std::strerror(error)).c_str());
    return 1;
  }
  return 0;
}

int nlsui_main(int argc, char** argv) {
  if (!startProcess()) return 1;
  int status = 1;
  try {
    status = run(argc, argv);
  } catch (const CmpiBroker_Exception& error) {
    report(error);
  } catch (const std::exception& error) {
    PrintError(error.what());
  }
  destroyManager(status);
  return status;
}

}  // namespace

}  // namespace brv

int main(int argc, char** argv) {
  return brv::nlsui_main(argc, argv);
}
