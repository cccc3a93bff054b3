// The RIP routers' protocol configurations.
#ifndef ROUTERS_RIP_INTERFACES_H
#define ROUTERS_RIP_INTERFACES_H

#include <memory>

#include "tarsel/export.h"
#include "vantacore/dc_router_base.h"

namespace Tarsel {

/// RIPv2's configuration. Created with the router that is being built: the constructor only keeps
/// the reference. It keeps its rows itself, without configuration lists.
class TARSEL_API Ripv2Interface : public DcProtoInterfaceBase {
 public:
  explicit Ripv2Interface(DcRouterBase& router);
  ~Ripv2Interface() override;

  void ParseOptions(const OptionsNode& node, const string& name,
                    DclConfigObject::OptionType type) override;
  void DeleteOptions(const string& name, DclConfigObject::OptionType type) override;
  bool IsEnabled() override;
  void Display(DcConsole* console) override;
  bool IsReady() override;
  bool IsReady(unsigned int ifIndex) override;
  void ProcessInterfaceStatusChange(unsigned int ifIndex, unsigned int status) override;
  void ProcessIPAddressChange(unsigned int ifIndex, const Ip4Addr& address) override;

 private:
  struct State;
  std::unique_ptr<State> m_state;
};

/// RIPng's configuration; the same contract.
class TARSEL_API RipngInterface : public DcProtoInterfaceBase {
 public:
  explicit RipngInterface(DcRouterBase& router);
  ~RipngInterface() override;

  void ParseOptions(const OptionsNode& node, const string& name,
                    DclConfigObject::OptionType type) override;
  void DeleteOptions(const string& name, DclConfigObject::OptionType type) override;
  bool IsEnabled() override;
  void Display(DcConsole* console) override;
  bool IsReady() override;
  bool IsReady(unsigned int ifIndex) override;
  void ProcessInterfaceStatusChange(unsigned int ifIndex, unsigned int status) override;
  void ProcessIPAddressChange(unsigned int ifIndex, const Ip4Addr& address) override;

 private:
  struct State;
  std::unique_ptr<State> m_state;
};

}  // namespace Tarsel

#endif
