// THashAlgMD5 (unit HashAlgMD5_U): the MD5 hash component, Title "MD5" and a
// DigestSize of 128 bits, built on THashAlgMD5Engine.
#pragma once

#include <memory>
#include <string>

#include "actions/checksums/hash_alg.h"
#include "actions/checksums/hash_alg_md5_engine.h"

namespace brivant {

class THashAlgMD5 : public THashAlg {
 public:
  THashAlgMD5();

  /// Hashes one byte per UTF-16 code unit of the text: its low 8 bits, so
  /// characters above U+00FF lose their high byte and a character beyond
  /// U+FFFF gives two bytes (its surrogates). `theString` is UTF-8; a byte
  /// that does not start a valid sequence stands for U+FFFD. The 16 bytes of
  /// the result go to the front of `digest`.
  void HashString(const std::string& theString, THashDigest& digest) override;
  /// Hashes the file's bytes (streamed) into the front of `digest` and
  /// returns true. Throws EFileReadError when the file cannot be opened or
  /// read; `digest` is then unchanged.
  bool HashFile(const std::string& filename, THashDigest& digest) override;

 private:
  std::unique_ptr<THashAlgMD5Engine> md5Engine;
};

}  // namespace brivant
