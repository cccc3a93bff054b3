// Finds out what waits and for what.
#ifndef DEVICE_VIEWS_REQUEST_READER_H
#define DEVICE_VIEWS_REQUEST_READER_H

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "leaving_rows.h"
#include "request_items.h"
#include "sources.h"

namespace views {

/// How far a reader goes: over everything that waits, or over the requests only that have been made
/// and over what is still to be asked for. Of these requests the second one has those of known
/// differences as well, which the first tells as differences.
enum class Reach { ALL, REQUESTS };

/// Goes over what differs, then over the requests without an answer, then over what is still to be
/// asked for, in slices of the loop's turns. What changes meanwhile is told as it was or as it is.
class RequestReader {
 public:
  static constexpr std::size_t ROWS_A_SLICE = 250;
  static constexpr std::size_t VLANS_A_SLICE = 100;
  static constexpr std::size_t ROUTES_A_SLICE = 5000;

  /// Of one VLAN, or of all.
  RequestReader(const Sources& sources, std::optional<unsigned short> vlan,
                Reach reach = Reach::ALL)
      : m_sources(sources),
        m_vlan(vlan),
        m_reach(reach),
        m_stage(reach == Reach::ALL ? Stage::DIFFERENCES : Stage::ROUTES),
        m_leaving(sources) {}

  using Tell = std::function<void(const RequestItem& item)>;
  /// Returns whether there is more.
  bool Continue(const Tell& tell);

 private:
  enum class Stage {
    DIFFERENCES,
    ROUTES,
    RULES,
    VLANS,
    LEAVING,
    PROTOCOL_ROWS,
    DOCUMENTS,
    LACKING,
    END
  };
  using Lack = std::pair<unsigned short, std::string>;  // the VLAN, the interface or nothing

  bool IsToldAlready(const rows::Row& row) const {
    return m_reach == Reach::ALL && m_sources.GetDifferences().Find(row) != nullptr;
  }
  bool IsAsked(unsigned short vlan) const { return !m_vlan || *m_vlan == vlan; }
  bool TellDifferences(const Tell& tell);
  bool TellRoutes(const Tell& tell);
  void TellRules(const Tell& tell);
  template <class Request>
  void TellRequest(const rows::Row& row, const Request& request, bool isRemoval,
                   const Tell& tell) const;
  bool TellVlans(const Tell& tell);
  void TellRows(unsigned short vlan, const Tell& tell) const;
  bool TellLeaving(const Tell& tell);
  void TellIfUnfinished(const rows::Row& row, const Tell& tell, const char* what = "") const;
  void TellToAsk(unsigned short vlan, const Tell& tell) const;
  bool TellProtocolRows(const Tell& tell);
  bool ReadDocuments();
  void TellLacking(const Tell& tell) const;
  std::string NameOf(const rows::Row& row) const;
  std::string ReasonOfSilence(const rows::Row& row) const;
  std::uint64_t SecondsSince(std::uint64_t moment) const;

  const Sources m_sources;
  const std::optional<unsigned short> m_vlan;
  const Reach m_reach;
  Stage m_stage;
  std::optional<rows::Row> m_lastDifference;
  std::optional<std::vector<routes::RouteKeeper::UnderWay>> m_routes;
  std::size_t m_nextRoute = 0;
  std::optional<unsigned short> m_lastVlan;
  LeavingRows m_leaving;
  std::optional<rows::ProtocolRow> m_lastRow;
  std::optional<documents::ConfigFiles> m_files;
  std::size_t m_nextFile = 0;
  std::size_t m_nextInFile = 0;
  std::map<Lack, std::size_t> m_lacking;  // the number of routes
};

}  // namespace views

#endif
