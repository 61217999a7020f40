// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "cimclient/CIMXMLResponse.h"
#include "cimclient/HTTPConnection.h"
#include "cimobject/CIMObject.h"
#include "cimobject/CIMRequest.h"
#include "cimobject/List.h"
#include "runtime/Threads.h"

namespace brv {

/// A client of CIM servers: CIM-XML over HTTP. What carries the HTTP dialogue is the subclass's.
///
/// Used under its own lock, which the caller takes. Every operation throws CIMClientError, and then
/// has changed nothing of what it was given.
class CIMConsumer {
 public:
  virtual ~CIMConsumer() = default;
  CIMConsumer(const CIMConsumer&) = delete;
  CIMConsumer& operator=(const CIMConsumer&) = delete;

  /// False when the calling thread holds the lock already.
  bool Lock() { return m_lock.Lock(); }
  void Unlock() { m_lock.Unlock(); }

  /// The host that requests are for.
  void setDestination(const char* host) { m_destination = host; }
  const std::string& destination() const { return m_destination; }

  /// Appends the instances of the request's class and its subclasses. `properties` ends with a null
  /// pointer and names what they shall have; null: all.
  void enumerateInstances(const CIMRequest& request, List<CIMObject>& out,
                          const char* const* properties);
  /// Executes the request's method: its return value "ReturnValue" and its output parameters.
  std::unique_ptr<CIMObject> execute(const CIMRequest& request);

 protected:
  CIMConsumer() : m_lock("CIMConsumer") {}

 private:
  /// One exchange with the server, as HTTPConnection's.
  virtual void exchange(const HTTPCIMRequest& request, const HTTPConnection::BodySink& sink) = 0;
  /// The server's name in messages: "CIM server at '/run/cim.socket'".
  virtual std::string server() const = 0;

  /// Sends the request and reads the answer into `out`.
  void ask(const HTTPCIMRequest& request, CIMXMLResponse::Operation operation, int messageId,
           List<CIMObject>& out);

  MutexLock m_lock;
  std::string m_destination;
  int m_lastMessageId = 1000;
};

}  // namespace brv
