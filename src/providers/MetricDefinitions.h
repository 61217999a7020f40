// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>

#include "cmpi/cmpi.h"

namespace brv {

/// The one numbering of the kinds of figures. A number keeps its meaning for ever; 53, 54 and 81
/// are unused.
enum class MetricDefinitionId_ : std::int32_t {
  OS_CPUCount = 0,
  OS_UserTimePercentage = 1,
  OS_SystemTimePercentage = 2,
  OS_IdleTimePercentage = 3,
  OS_WaitTimePercentage = 4,
  OS_ContextSwitchRate = 5,
  OS_InterruptRate = 6,
  OS_LoadAverage1Min = 7,
  OS_LoadAverage5Min = 8,
  OS_LoadAverage15Min = 9,
  OS_TotalVisibleMemorySize = 10,
  OS_AvailablePhysicalMemory = 11,
  OS_FreePhysicalMemory = 12,
  OS_TotalVirtualMemorySize = 13,
  OS_FreePhysicalMemoryAvg = 14,
  OS_TotalVirtualMemorySizeAvg = 15,
  OS_FreeSpaceInPagingFiles = 16,
  OS_SizeStoredInPagingFiles = 17,
  OS_PagesPagedInRate = 18,
  OS_PagesPagedOutRate = 19,
  OS_KBytesPagedInRate = 20,
  OS_KBytesPagedOutRate = 21,
  OS_StealTimePercentage = 22,
  FS_Size = 23,
  FS_AvailableSpace = 24,
  Proc_UserTimePercentage = 25,
  Proc_SystemTimePercentage = 26,
  Proc_IdleTimePercentage = 27,
  Proc_WaitTimePercentage = 28,
  Disk_Util = 29,
  Disk_IORate = 30,
  Disk_TotalThroughput = 31,
  Disk_AverageWaitTime = 32,
  Disk_AverageServiceTime = 33,
  Disk_AverageQueueLength = 34,
  Net_PacketReceiveRate = 35,
  Net_PacketTransmitRate = 36,
  Net_KByteReceiveRate = 37,
  Net_KByteTransmitRate = 38,
  Net_ReceiveErrorRate = 39,
  Net_TransmitErrorRate = 40,
  Net_CollisionRate = 41,
  VCS_TCPPacketsRetransmitted = 42,
  VCS_KByteReceiveRate = 43,
  VCS_KByteTransmitRate = 44,
  VCS_CPUCapacityConsumed = 45,
  VCS_AdditionalCPUCapacityAvailable = 46,
  VCS_AvailableCPUCapacityConsumed = 47,
  VCS_GuaranteedCPUCapacity = 48,
  VCS_GuaranteedCPUCapacityConsumed = 49,
  VCS_MaximumCPUCapacity = 50,
  VCS_CPUBottleneckIndicator = 51,
  VCS_CPUCountStolen = 52,
  VCS_CPUStealTimePct = 55,
  HCS_CPUCount = 56,
  HCS_CPUCapacityConsumedPercentage = 57,
  HCS_CurrentClockSpeed = 58,
  VCS_GuaranteedMemory = 59,
  VCS_MemoryMaximum = 60,
  VCS_MemoryConsumed = 61,
  VCS_AdditionalMemoryAvailable = 62,
  VCS_MemoryLent = 63,
  VCS_MemoryWaitTime = 64,
  VCS_MemoryBottleneckIndicator = 65,
  VCS_KBytesSwappedInRate = 66,
  VCS_KBytesSwappedOutRate = 67,
  VCS_MemoryCapacityAvailable = 68,
  HCS_TotalVisibleMemorySize = 69,
  HCS_PhysicalMemoryConsumed = 70,
  HCS_KBytesSwappedInRate = 71,
  HCS_KBytesSwappedOutRate = 72,
  VStorage_Util = 73,
  VStorage_IOPSRead = 74,
  VStorage_IOPSWrite = 75,
  VStorage_ReadThrougput = 76,
  VStorage_WriteThrougput = 77,
  VStorage_ReadResponseTime = 78,
  VStorage_WriteResponseTime = 79,
  VStorage_AverageQueueLength = 80,
  OS_ElapsedCPUTime = 82,
  OS_UserTime = 83,
  OS_SystemTime = 84,
  OS_IdleTime = 85,
  OS_WaitTime = 86,
  OS_ContextSwitchCounter = 87,
  OS_InterruptCounter = 88,
  OS_PagesPagedIn = 89,
  OS_PagesPagedOut = 90,
  OS_StealTime = 91,
  Proc_ElapsedCPUTime = 92,
  Proc_UserTime = 93,
  Proc_SystemTime = 94,
  Proc_IdleTime = 95,
  Proc_WaitTime = 96,
  Disk_IOTimeCounter = 97,
  Disk_TotalIOs = 98,
  Disk_ReadWriteIOTimeCounter = 99,
  Disk_WaitIOTimeCounter = 100,
  Disk_KBytesTransfered = 101,
  Disk_WeightedIOTimeCounter = 102,
  Net_PacketsReceived = 103,
  Net_PacketsTransmitted = 104,
  Net_BytesReceived = 105,
  Net_BytesTransmitted = 106,
  Net_ReceiveErrors = 107,
  Net_TransmitErrors = 108,
  Net_Collisions = 109,
  VCS_StealTime = 110,
  VCS_KBytesSwappedOut = 111,
  VCS_CPUTimeConsumed = 112,
  HCS_CPUTimeUsed = 113,
  HCS_KBytesSwappedOut = 114,
  End = 115,  ///< ends lists of ids; never a figure
};

/// What is known of a kind of figure. Texts and codes are those of CIM_BaseMetricDefinition.
struct MetricDefinition {
  MetricDefinitionId_ id;
  const char* name;  ///< the published id, such as "OS.CPUCount"
  const char* caption;
  const char* description;
  const char* measuredElementType;
  CMPIUint16 dataType;
  CMPIUint16 timeScope;
  CMPIUint16 changeType;
  const char* units;
};

/// All kinds of figures, in the order in which definitions are reported.
std::span<const MetricDefinition> metricDefinitions();

/// The row of an id; null after a trace for a number that is no figure.
const MetricDefinition* findMetricDefinition(MetricDefinitionId_ id);

}  // namespace brv
