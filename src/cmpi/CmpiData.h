// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "cmpi/CmpiStatus.h"
#include "cmpi/cmpi.h"

// Values of the provider binding. Every object is a light handle: the broker owns what it refers
// to until the request ends, so handles are copied freely and release nothing. Objects are made by
// the broker that the provider's factory was given (CmpiBinding::broker).
namespace brv {

class CmpiData;
class CmpiInstance;
class CmpiObjectPath;

namespace CmpiBinding {
/// The broker that makes the objects of this process's compiled-in providers.
const CMPIBroker* broker();
void setBroker(const CMPIBroker* broker);
}  // namespace CmpiBinding

/// A text of the broker.
class CmpiString {
 public:
  CmpiString() = default;
  explicit CmpiString(CMPIString* record) : m_record(record) {}
  /// A new string of the broker.
  explicit CmpiString(const char* text);

  /// The text, or a null pointer for an empty handle.
  const char* charPtr() const {
    return m_record != nullptr ? static_cast<const char*>(m_record->hdl) : nullptr;
  }
  bool equals(const char* text) const;
  bool equalsIgnoreCase(const char* text) const;
  CMPIString* record() const { return m_record; }

 private:
  CMPIString* m_record = nullptr;
};

/// A moment (microseconds since 1970-01-01 00:00 UTC) or an interval (microseconds).
class CmpiDateTime {
 public:
  /// Now.
  CmpiDateTime();
  /// From the 25 characters of a CIM date-time or interval.
  explicit CmpiDateTime(const char* cimText);
  CmpiDateTime(CMPIUint64 microseconds, bool interval);
  explicit CmpiDateTime(CMPIDateTime* record) : m_record(record) {}

  bool isInterval() const;
  /// Microseconds.
  CMPIUint64 getDateTime() const;
  CMPIDateTime* record() const { return m_record; }

 private:
  CMPIDateTime* m_record;
};

/// An array of a fixed number of elements of one type.
class CmpiArray {
 public:
  /// One element, to read or to assign.
  class Element {
   public:
    Element(const Element&) = default;
    Element& operator=(const CmpiData& data);
    Element& operator=(const Element& other);
    operator CmpiData() const;

   private:
    friend class CmpiArray;
    Element(CMPIArray* array, CMPICount index) : m_array(array), m_index(index) {}
    CMPIArray* m_array;
    CMPICount m_index;
  };

  CmpiArray(CMPICount size, CMPIType type);
  explicit CmpiArray(CMPIArray* record) : m_record(record) {}

  CMPICount size() const;
  /// The type of the elements.
  CMPIType type() const;
  Element operator[](CMPICount index) const { return Element(m_record, index); }
  CMPIArray* record() const { return m_record; }

 private:
  CMPIArray* m_record;
};

/// A value with its type. Conversions back throw code 13 when type or pointer do not fit; they do
/// not look at the state, which some calls set to null on good data.
class CmpiData {
 public:
  CmpiData() : m_data{CMPI_null, CMPI_nullValue, {}} {}
  explicit CmpiData(const CMPIData& data) : m_data(data) {}
  /// `text` is not copied and must live until the data has been handed over; null gives a NULL
  /// string.
  CmpiData(const char* text);
  CmpiData(const CmpiString& text);
  CmpiData(const CmpiDateTime& dateTime);
  CmpiData(const CmpiArray& array);
  CmpiData(const CmpiObjectPath& path);

#define BRV_SCALAR(member, Type)                                     \
  CmpiData(Type value) : m_data{CMPI_##member, CMPI_goodValue, {}} { \
    m_data.value.member = value;                                     \
  }                                                                  \
  operator Type() const {                                            \
    return get(CMPI_##member).member;                                \
  }
  BRV_SCALAR(uint8, CMPIUint8)
  BRV_SCALAR(uint16, CMPIUint16)
  BRV_SCALAR(uint32, CMPIUint32)
  BRV_SCALAR(uint64, CMPIUint64)
  BRV_SCALAR(sint8, CMPISint8)
  BRV_SCALAR(sint16, CMPISint16)
  BRV_SCALAR(sint32, CMPISint32)
  BRV_SCALAR(sint64, CMPISint64)
  BRV_SCALAR(real32, CMPIReal32)
  BRV_SCALAR(real64, CMPIReal64)
#undef BRV_SCALAR
  // std::uint64_t and std::int64_t, which are long here.
  CmpiData(unsigned long value) : CmpiData(CMPIUint64{value}) {}
  CmpiData(long value) : CmpiData(CMPISint64{value}) {}
  operator unsigned long() const {
    return get(CMPI_uint64).uint64;
  }
  operator long() const {
    return get(CMPI_sint64).sint64;
  }
  // Truth values have a maker of their own, and a letter is no number.
  CmpiData(bool) = delete;
  CmpiData(char) = delete;

  operator CmpiString() const;
  operator CmpiDateTime() const;
  operator CmpiArray() const;
  operator CmpiObjectPath() const;
  operator CmpiInstance() const;
  bool toBoolean() const {
    return get(CMPI_boolean).boolean != 0;
  }

  bool isNullValue() const {
    return (m_data.state & CMPI_nullValue) != 0;
  }
  bool isNotFound() const {
    return (m_data.state & CMPI_notFound) != 0;
  }
  CMPIType type() const {
    return m_data.type;
  }
  const CMPIData& record() const {
    return m_data;
  }
  /// What a table function takes as `const CMPIValue*`: null for a NULL value, the text itself for
  /// CMPI_chars, the address of the value otherwise. What a pointer leads to is no NULL value,
  /// whatever the state says.
  const CMPIValue* argument() const;

 private:
  friend CmpiData CmpiBooleanData(bool value);
  const CMPIValue& get(CMPIType type) const;

  CMPIData m_data;
};

/// A truth value, which shares its C type with uint8.
CmpiData CmpiBooleanData(bool value);

}  // namespace brv
