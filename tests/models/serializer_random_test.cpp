// Random operations on the serializer and on its literal model, with stacks that answer later and
// with stacks that answer from inside the request.
#include <gtest/gtest.h>

#include <functional>

#include "tests/models/random_run.h"
#include "tests/models/scripted_action.h"
#include "tests/models/serializer_model.h"
#include "vantacore/serializer.h"

namespace test_models {
namespace {

using Tarsel::MibOid;
using Tarsel::Serializer;

constexpr unsigned int ROWS = 12;

// Some names of rows are prefixes of others.
struct Name {
  explicit Name(unsigned int row) : length(row % 3 + 1), subIds{1, row / 3, 7} {}
  MibOid Oid() const { return MibOid(subIds, length); }
  unsigned int length;
  unsigned int subIds[3];
};

// What a request's stack does before it returns. Both sides draw it up from the action's number, so
// that it is the same for both.
struct CallBacks {
  bool synchronous = false;
  unsigned int seed = 0;
};

/// One serializer, the library's or the model, with its actions.
template <class Engine>
class Side {
 public:
  template <class... Arguments>
  explicit Side(const CallBacks& callBacks, Arguments&... arguments)
      : engine(arguments...), m_callBacks(callBacks) {}

  void Insert(unsigned int row, unsigned int number) {
    engine.Insert(Name(row).Oid(),
                  new ScriptedAction(log, std::to_string(number),
                                     [this, row, number] { Answer(row, number); }));
  }
  int Complete(unsigned int row) {
    Name name(row);
    return engine.RunPendingAction(name.subIds, name.length);
  }

  ActionLog log;
  Engine engine;
  unsigned int calls = 0;  // from inside of requests

 private:
  void Answer(unsigned int row, unsigned int number) {
    if (!m_callBacks.synchronous || m_depth == 3) {
      return;
    }
    ++m_depth;
    std::mt19937 draw(m_callBacks.seed + number);
    for (unsigned int i = draw() % 3; i > 0; --i, ++calls) {
      const auto other = static_cast<unsigned int>(draw() % ROWS);
      const unsigned int kind = draw() % 100;
      if (kind < 40) {
        Note(Complete(row));
      } else if (kind < 60) {
        Note(Complete(other));
      } else if (kind < 95) {
        Insert(kind < 75 ? row : other, number * 4 + i);
      } else if (kind < 98) {
        Note(engine.Send(Name(other).Oid()));
      } else {
        engine.Reset();
      }
    }
    --m_depth;
  }
  void Note(int result) { log.lines.push_back("result " + std::to_string(result)); }

  const CallBacks& m_callBacks;
  int m_depth = 0;
};

class Runs {
 public:
  /// A serializer from its construction to its end; false on the first difference.
  bool RunOne(bool synchronous) {
    CallBacks callBacks;
    callBacks.synchronous = synchronous;
    callBacks.seed = random.Below(1U << 30);
    Side<Serializer> library(callBacks);
    Side<SerializerModel> model(callBacks, count);
    const unsigned int readyAt = random.Below(120);
    for (unsigned int i = 0; i < 200; ++i, ++operations) {
      if (i == readyAt) {
        library.log.lines.push_back(std::to_string(library.engine.RunPendingActions()));
        model.log.lines.push_back(std::to_string(model.engine.RunPendingActions()));
      } else {
        Step(library, model);
      }
      const auto expected = model.log.Take();
      const auto actual = library.log.Take();
      EXPECT_EQ(expected, actual) << "operation " << operations;
      EXPECT_EQ(model.log.alive.size(), library.log.alive.size()) << "operation " << operations;
      if (expected != actual || model.log.alive.size() != library.log.alive.size()) {
        return false;
      }
    }
    calls += library.calls;
    return true;
  }

  Random random;
  Occurrences count;
  unsigned int operations = 0;
  unsigned int calls = 0;  // of the library from inside of its requests

 private:
  void Step(Side<Serializer>& library, Side<SerializerModel>& model) {
    const unsigned int row = random.Below(ROWS);
    const unsigned int kind = random.Below(1000);
    const unsigned int number = operations;
    if (kind < 500) {
      library.Insert(row, number);
      model.Insert(row, number);
    } else if (kind < 530) {
      library.engine.Insert(Name(row).Oid(), nullptr);
      model.engine.Insert(Name(row).Oid(), nullptr);
    } else if (kind < 900) {
      EXPECT_EQ(model.Complete(row), library.Complete(row));
    } else if (kind < 950) {
      EXPECT_EQ(model.engine.Send(Name(row).Oid()), library.engine.Send(Name(row).Oid()));
    } else if (kind < 970 && model.engine.IsReady()) {
      EXPECT_EQ(model.engine.RunPendingActions(), library.engine.RunPendingActions());
    } else if (kind < 990) {
      // Once the stack is ready a row that is retired by hand is sent by hand, too.
      model.engine.Remove(Name(row).Oid());
      library.engine.Remove(Name(row).Oid());
      EXPECT_EQ(model.engine.Send(Name(row).Oid()), library.engine.Send(Name(row).Oid()));
    } else if (kind < 993) {
      model.engine.Reset();
      library.engine.Reset();
    }
  }
};

TEST(SerializerModelRandom, LibraryAndLiteralModelDoTheSame) {
  Runs runs;
  const unsigned int operations = Scaled(200000);
  while (runs.operations < operations) {
    ASSERT_TRUE(runs.RunOne(false));
  }
  for (const char* what :
       {"a completion of a row that is not busy", "a completion of a request that was not issued",
        "arrivals that move forward", "a repeated ready signal"}) {
    runs.count.ExpectAtLeast(1000, what);
  }
}

TEST(SerializerModelRandom, TheyDoSoWithAStackThatCallsBack) {
  Runs runs;
  const unsigned int operations = Scaled(200000);
  while (runs.operations < operations) {
    ASSERT_TRUE(runs.RunOne(true));
  }
  test_models::ExpectAtLeast(runs.calls, runs.operations / 5, "calls");
}

}  // namespace
}  // namespace test_models
