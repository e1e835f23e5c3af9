// How state that lives as long as the module is held.

#ifndef TROVEX_API_MODULE_STATE_H
#define TROVEX_API_MODULE_STATE_H

namespace trovex {

/// One object of static lifetime that is ready before any code runs (declare it `constinit`) and is
/// never destroyed: a host may still call the library from its own exit handlers. What the object
/// owns is given back when the module stops (api/module.cpp).
template <typename T>
class ModuleState {
 public:
  constexpr ModuleState() : value_() {}
  constexpr ~ModuleState() {}
  ModuleState(const ModuleState&) = delete;
  ModuleState& operator=(const ModuleState&) = delete;

  T& Get() { return value_; }

 private:
  union {
    T value_;
  };
};

}  // namespace trovex

#endif  // TROVEX_API_MODULE_STATE_H
