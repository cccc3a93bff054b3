#include "reloads.h"

#include "check.h"
#include "device.h"

namespace fuzz {

namespace {

using Tarsel::DclConfigObject;

constexpr unsigned int NAMES = 4;

std::string NameOf(unsigned int number) { return "document" + std::to_string(number); }

DclConfigObject::OptionType TypeOf(bool isRemote) {
  return isRemote ? DclConfigObject::REMOTE_OPTIONS : DclConfigObject::VLAN_OPTIONS;
}

void Carry(const ReloadStep& step) {
  Device& device = Device::Get();
  if (step.isWithdrawal) {
    device.Withdraw(NameOf(step.name), TypeOf(step.isRemote));
  } else {
    // The document ends with this call, as it may.
    const Tarsel::Options options(step.document);
    Check(device.Manager().Reload(options, NameOf(step.name).c_str(), TypeOf(step.isRemote)),
          "a reload has failed");
  }
  if (step.settles) Check(device.Settle(), "the device does not come to rest");
}

void Run(const std::vector<ReloadStep>& steps) {
  Device& device = Device::Get();
  for (const ReloadStep& step : steps) Carry(step);
  for (unsigned int number = 0; number < NAMES; ++number) {
    device.Withdraw(NameOf(number), DclConfigObject::VLAN_OPTIONS);
    device.Withdraw(NameOf(number), DclConfigObject::REMOTE_OPTIONS);
  }
  Check(device.Settle(), "the device does not come to rest at the end");
  Check(device.IsEmpty(), "something is left behind:\n" + device.Dump());
}

}  // namespace

ReloadStep MakeStep(unsigned int choice) {
  ReloadStep step;
  step.name = choice & 3;
  step.isRemote = (choice & 4) != 0;
  step.isWithdrawal = (choice & 8) != 0;
  step.settles = (choice & 16) != 0;
  return step;
}

void RunReloads(const std::vector<ReloadStep>& steps) {
  RunTwice([&] { Run(steps); });
}

}  // namespace fuzz
