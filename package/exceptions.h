// Exceptions that cross the host contract. Actions report ordinary failures by
// their result; only these are thrown between an action and its host.
#pragma once

#include <stdexcept>
#include <string>

namespace brivant {

class EBVException : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Raised to fail the running action; the host logs the message.
class EFailAction : public EBVException {
 public:
  using EBVException::EBVException;
};

// Raised while an iterator builds its item list; the host fails the loop.
class EIteratorException : public EBVException {
 public:
  using EBVException::EBVException;
};

// Raised by the host's variable services: unknown reference, bad conversion.
class EVariableException : public EBVException {
 public:
  using EBVException::EBVException;
};

}  // namespace brivant
