// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <iterator>
#include <memory>
#include <type_traits>
#include <vector>

namespace brv {

/// Releases an element of a List: deletes it. Converts both ways from and to the default deleter,
/// so that a plain std::unique_ptr enters and leaves a list without release().
template <class T>
struct GenericDeallocator {
  GenericDeallocator() = default;
  GenericDeallocator(std::default_delete<T>) {}
  operator std::default_delete<T>() const { return {}; }
  void operator()(T* element) const { delete element; }
};

/// The owning list that every collection of results and requests is. Elements keep their address
/// and their order of insertion; the list deletes what is left in it.
template <class T>
class List {
 public:
  using Owner = std::unique_ptr<T, GenericDeallocator<T>>;

  /// Walks the elements from the first to the last as references.
  template <class Base, class Reference>
  class BasicIterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = T;
    using difference_type = std::ptrdiff_t;
    using pointer = std::remove_reference_t<Reference>*;
    using reference = Reference;

    BasicIterator() = default;
    explicit BasicIterator(Base base) : m_base(base) {}
    Reference operator*() const { return **m_base; }
    pointer operator->() const { return m_base->get(); }
    BasicIterator& operator++() {
      ++m_base;
      return *this;
    }
    BasicIterator operator++(int) {
      BasicIterator before = *this;
      ++m_base;
      return before;
    }
    bool operator==(const BasicIterator&) const = default;

   private:
    Base m_base{};
  };
  using Iterator = BasicIterator<typename std::vector<Owner>::iterator, T&>;
  using ConstIterator = BasicIterator<typename std::vector<Owner>::const_iterator, const T&>;

  /// Appends and takes over; a null pointer is ignored.
  void add(T* element) { add(Owner(element)); }
  void add(Owner element) {
    if (element) m_elements.push_back(std::move(element));
  }
  /// Constructs an element at the end.
  template <class... Arguments>
  T& emplace(Arguments&&... arguments) {
    m_elements.push_back(Owner(new T(std::forward<Arguments>(arguments)...)));
    return *m_elements.back();
  }
  /// Moves all elements of `other` to the end of this list, in order.
  void moveAll(List& other) {
    if (m_elements.empty()) {
      m_elements.swap(other.m_elements);
      return;
    }
    m_elements.insert(m_elements.end(), std::make_move_iterator(other.m_elements.begin()),
                      std::make_move_iterator(other.m_elements.end()));
    other.m_elements.clear();
  }
  /// Takes the first element out; null when the list is empty. Costs a move of the others.
  Owner takeFirst() {
    if (m_elements.empty()) return Owner();
    Owner first = std::move(m_elements.front());
    m_elements.erase(m_elements.begin());
    return first;
  }
  /// Takes the last element out; null when the list is empty.
  Owner takeLast() {
    if (m_elements.empty()) return Owner();
    Owner last = std::move(m_elements.back());
    m_elements.pop_back();
    return last;
  }
  void clear() { m_elements.clear(); }
  void reserve(std::size_t count) { m_elements.reserve(count); }

  std::size_t size() const { return m_elements.size(); }
  bool empty() const { return m_elements.empty(); }
  T& operator[](std::size_t index) { return *m_elements[index]; }
  const T& operator[](std::size_t index) const { return *m_elements[index]; }

  Iterator begin() { return Iterator(m_elements.begin()); }
  Iterator end() { return Iterator(m_elements.end()); }
  ConstIterator begin() const { return ConstIterator(m_elements.begin()); }
  ConstIterator end() const { return ConstIterator(m_elements.end()); }

 private:
  std::vector<Owner> m_elements;
};

}  // namespace brv
