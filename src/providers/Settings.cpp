// SPDX-License-Identifier: Apache-2.0
#include "providers/Settings.h"

#include <cstdlib>

namespace brv {

Settings::Settings(const char* configDirectory) : m_inWorkingFolder(configDirectory == nullptr) {
  if (configDirectory != nullptr) m_filterPath.append(configDirectory).append("/");
  m_filterPath += "./osfilter.conf";
}

const Settings& Settings::mThis() {
  static const Settings settings(secure_getenv("BRVCIMB_CONFIG_D"));
  return settings;
}

}  // namespace brv
