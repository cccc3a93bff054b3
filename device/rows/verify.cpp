#include "verify.h"

#include <algorithm>

#include "device/program/counted.h"

namespace rows {

using program::Counted;

namespace {

constexpr char AS_WANTED[] = " as wanted";
constexpr char AS_FAR_AS_KNOWN[] = " as wanted, as far as is known";

std::string Seconds(std::uint64_t milliseconds) {
  return std::to_string((milliseconds + 999) / 1000) + " s";
}

std::string DescribeKept(std::size_t count) {
  return count == 0 ? ""
                    : ", and " + Counted(count, "old one is kept", "old ones are kept") +
                          " until a new one can take its place";
}

std::string DescribePass(const Verdict& verdict) {
  return verdict.kind + ": " +
         (verdict.note.empty()
              ? std::to_string(verdict.rows) + (verdict.isCompared ? AS_WANTED : AS_FAR_AS_KNOWN) +
                    DescribeKept(verdict.kept)
              : verdict.note);
}

std::string DescribeRepeats(const Differences::Difference& difference, std::uint64_t now) {
  std::string text;
  if (difference.repeats != 0) {
    text = ", asked " + program::Times(difference.repeats);
  }
  if (difference.isAsked) {
    return text;
  }
  return text + (difference.next > now ? ", again in " + Seconds(difference.next - now)
                                       : ", again when others are done");
}

}  // namespace

std::string DescribeFail(const Row& row, const Standing& standing,
                         const Differences::Difference* difference, std::uint64_t now,
                         const InterfaceNames& names) {
  std::string text = Describe(row, standing, names);
  if (standing.kind == Standing::Kind::UNDER_WAY && standing.since != 0) {
    text += " since " + Seconds(now - std::min(now, standing.since));
  }
  return difference ? text + DescribeRepeats(*difference, now) : text;
}

std::vector<std::string> DescribeVerdicts(const std::vector<Verdict>& verdicts,
                                          std::size_t mostFails) {
  std::vector<std::string> passed;
  std::vector<std::string> kept;
  std::vector<std::string> failed;
  std::size_t rows = 0;
  std::size_t allKept = 0;
  std::size_t fails = 0;
  std::size_t rowFails = 0;
  std::size_t shown = 0;
  std::string parts;
  const char* asWanted = AS_WANTED;
  for (const Verdict& verdict : verdicts) {
    asWanted = verdict.isCompared ? asWanted : AS_FAR_AS_KNOWN;
    rows += verdict.rows;
    fails += verdict.fails;
    allKept += verdict.kept;
    if (verdict.note.empty()) {
      rowFails += verdict.fails;
    } else if (verdict.fails != 0) {
      parts += (parts.empty() ? "; failed besides: " : ", ") + verdict.kind;
    }
    if (verdict.fails == 0) {
      passed.push_back("PASS  " + DescribePass(verdict));
    }
    for (const std::string& line : verdict.keptLines) {
      if (kept.size() < mostFails) {
        kept.push_back("KEPT  " + line);
      }
    }
    const std::size_t room = mostFails - failed.size();
    for (std::size_t i = 0; i < std::min(room, verdict.lines.size()); ++i) {
      failed.push_back("FAIL  " + verdict.lines[i]);
    }
    shown += verdict.lines.size() > room ? room : verdict.lines.size() + verdict.besides;
  }
  std::vector<std::string> lines = std::move(passed);
  lines.insert(lines.end(), kept.begin(), kept.end());
  lines.insert(lines.end(), failed.begin(), failed.end());
  if (fails > shown) {
    lines.push_back("... and " + std::to_string(fails - shown) + " more");
  }
  lines.push_back((fails == 0 ? "PASS: " : "FAIL: ") +
                  (rowFails == 0 ? Counted(rows, "row", "rows") + asWanted
                                 : Counted(rowFails, "row is", "rows are") + " not as wanted, of " +
                                       std::to_string(rows)) +
                  DescribeKept(allKept) + parts);
  return lines;
}

bool HavePassed(const std::vector<Verdict>& verdicts) {
  return std::all_of(verdicts.begin(), verdicts.end(),
                     [](const Verdict& verdict) { return verdict.fails == 0; });
}

std::vector<std::string> DescribeDifferences(const Differences& differences, std::size_t most) {
  std::vector<std::string> lines;
  for (const auto& [row, difference] : differences.GetAll()) {
    if (lines.size() == most) {
      break;
    }
    lines.push_back(Describe(row, difference.standing, differences.GetNames()));
  }
  return lines;
}

std::string DescribeCount(std::size_t differences) {
  return Counted(differences, "row is", "rows are") + " not as wanted";
}

}  // namespace rows
