#include "disposal.h"

#include <malloc.h>

#include <iterator>
#include <utility>

namespace loop {

void Disposal::Free(std::vector<Thing> things) {
  m_things.insert(m_things.end(), std::make_move_iterator(things.begin()),
                  std::make_move_iterator(things.end()));
  if (!m_things.empty() && !m_work.IsUnderWay()) {
    Begin();
  }
}

void Disposal::Free(Thing thing) {
  std::vector<Thing> things;
  things.push_back(std::move(thing));
  Free(std::move(things));
}

// The work has the only share of the list.
void Disposal::Begin() {
  m_work.Start(
      [things = std::make_shared<std::vector<Thing>>(std::exchange(m_things, {}))] {
        things->clear();
        GiveBackFreeMemory();
      },
      [this](const std::optional<std::string>&) {
        if (!m_things.empty()) {
          Begin();
        }
      });
}

void GiveBackFreeMemory() { malloc_trim(0); }

}  // namespace loop
