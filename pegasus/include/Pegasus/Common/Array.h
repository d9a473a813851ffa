// A growable sequence that is cheap to copy.
#pragma once

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Exception.h>

#include <deque>
#include <initializer_list>
#include <memory>
#include <type_traits>
#include <vector>

namespace Pegasus {

// Copies share their elements until one of them is changed; to the caller they are independent.
// Not for use by several threads at once, copies included.
template <typename T>
class Array {
  // std::vector<bool> hands out no references to its elements.
  using Elements = std::conditional_t<std::is_same_v<T, bool>, std::deque<bool>, std::vector<T>>;

 public:
  using const_iterator = typename Elements::const_iterator;

  Array() = default;
  Array(std::initializer_list<T> elements) : elements_(std::make_shared<Elements>(elements)) {}

  Uint32 size() const { return elements_ ? static_cast<Uint32>(elements_->size()) : 0; }

  // Both throw IndexOutOfBoundsException when position >= size(). A reference lives until the array
  // is changed or destroyed.
  const T& operator[](Uint32 position) const {
    checkPosition(position);
    return (*elements_)[position];
  }
  T& operator[](Uint32 position) {
    checkPosition(position);
    return ownElements()[position];
  }

  void append(T element) { ownElements().push_back(std::move(element)); }
  void clear() { elements_.reset(); }

  const_iterator begin() const { return elements().begin(); }
  const_iterator end() const { return elements().end(); }

  friend Boolean operator==(const Array& a, const Array& b) { return a.elements() == b.elements(); }

 private:
  void checkPosition(Uint32 position) const {
    if (position >= size()) {
      throw IndexOutOfBoundsException();
    }
  }

  const Elements& elements() const {
    static const Elements none;
    return elements_ ? *elements_ : none;
  }

  Elements& ownElements() {
    if (!elements_) {
      elements_ = std::make_shared<Elements>();
    } else if (elements_.use_count() > 1) {
      elements_ = std::make_shared<Elements>(*elements_);
    }
    return *elements_;
  }

  std::shared_ptr<Elements> elements_;
};

}  // namespace Pegasus
