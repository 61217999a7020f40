// SPDX-License-Identifier: Apache-2.0
#include "broker/CmpiBroker_Args.h"

#include "broker/CmpiBroker_PropertyAccess.h"

namespace brv {

namespace {

// An unknown argument is "not found", not "no such property" as with instances.
constexpr CMPIArgsFT kArgsTable = {
    kTableVersion,
    refused<"Args release function not supported\n">,
    refused<"Args clone function not supported\n">,
    setPropertyValue<CmpiBroker_Args, CMPIArgs>,
    getPropertyByName<CmpiBroker_Args, CMPI_RC_ERR_NOT_FOUND, CMPIArgs>,
    getPropertyByIndex<CmpiBroker_Args, CMPIArgs>,
    getPropertyCount<CmpiBroker_Args, CMPIArgs>,
};

}  // namespace

CmpiBroker_Args::CmpiBroker_Args() : CMPIArgs{this, &kArgsTable} {}

}  // namespace brv
