// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "runtime/HostFiles.h"

// What a VMware guest's own kernel knows of the devices that the hypervisor names.
namespace brv {

/// The numbers of the SCSI host adapters that are the guest's virtual SCSI controllers, ascending.
/// Those of ATA disks and USB sticks are left out: an adapter's number itself depends on what else
/// the guest has.
std::vector<unsigned> scsiControllers(const HostFiles& files);

/// The adapter of the virtual SCSI controller `controller` (from 0): they are counted in the order
/// of their adapters.
std::optional<unsigned> get_hba_offset(unsigned controller, const HostFiles& files);

/// The block device ("sda") of the virtual disk "scsi<controller>:<unit>". Empty when the name is
/// of another form or the guest has no such disk.
std::string get_disk_name(std::string_view disk, const HostFiles& files);
/// The same with what scsiControllers() gave, for many disks.
std::string get_disk_name(std::string_view disk, const std::vector<unsigned>& controllers,
                          const HostFiles& files);

/// The memory that the guest was given, in MB (1,048,576 bytes): the kernel's memory blocks, where
/// it has none (no hot-plug) what it manages itself. Nothing when neither is to be had.
std::optional<std::uint64_t> installedMemoryMB(const HostFiles& files);

}  // namespace brv
