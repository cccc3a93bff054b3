// The RIB written out plainly: after every operation everything is computed again from the rows,
// with loops over all of them and addresses bit by bit. Slow, and short enough to be believed.
#ifndef TESTS_STACK_RIB_MODEL_H
#define TESTS_STACK_RIB_MODEL_H

#include <array>
#include <cstddef>
#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "stack/rows.h"

namespace stack_test {

class RibModel {
 public:
  using Bytes = std::array<unsigned char, 16>;

  struct Distances {
    unsigned int ospfInternal, ospfExternal, externalBgp, internalBgp, rip;
  };
  struct Instance {
    int bits;  // 32 or 128
    Distances distances;
  };
  struct AddressKey {
    unsigned int instance, ifIndex;
    int bits;
    Bytes address;
  };
  struct CandidateKey {
    unsigned int instance;
    Bytes destination;
    unsigned int length;
    unsigned int proto;
    Bytes nextHop;
    unsigned int ifIndex;
  };
  struct Candidate {
    unsigned int metric;
    bool up, internal;
  };

  // The rows, changed by the test.
  std::map<unsigned int, Instance> instances;
  std::map<std::pair<unsigned int, unsigned int>, bool> interfaces;  // up
  std::map<AddressKey, unsigned int> addresses;                      // length
  std::map<CandidateKey, Candidate> candidates;                      // static and protocols
  std::map<unsigned int, std::size_t> mostNextHops;                  // by instance; of others 1

  void DropInstance(unsigned int instance);

  /// Follows the changes; `now` in milliseconds. To be called after every operation.
  void Update(unsigned long long now);
  std::vector<amb_cipr_rtm_rib> Rib() const;
  std::vector<amb_cipr_rtm_route> Routes() const;
  /// What stands beside each of these, best first, as ForwardingMirror has it.
  std::vector<std::vector<std::string>> Beside() const;

 private:
  struct Row {
    CandidateKey key;
    Candidate value;
    bool eligible;
    unsigned int outInterface;
    bool installed;
    std::size_t place = 0;  // among those beside the installed one, from 1 on; 0 for none
  };
  using PrefixKey = std::tuple<unsigned int, Bytes, unsigned int>;

  std::vector<CandidateKey> Connected() const;
  bool IsOnLink(const CandidateKey& key) const;
  unsigned int LongestConnected(const CandidateKey& key) const;
  unsigned int DistanceOf(const Row& row) const;
  bool IsBetter(const Row& a, const Row& b) const;
  void ChooseBeside();
  void Resolve(Row* row) const;

  unsigned long long m_now = 0;
  std::vector<CandidateKey> m_connected;
  std::vector<Row> m_rows;
  std::map<CandidateKey, unsigned long long> m_created;
  std::map<PrefixKey, std::pair<CandidateKey, unsigned long long>> m_installed;
};

bool operator<(const RibModel::AddressKey& a, const RibModel::AddressKey& b);
bool operator<(const RibModel::CandidateKey& a, const RibModel::CandidateKey& b);

}  // namespace stack_test

#endif
