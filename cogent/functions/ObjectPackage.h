#pragma once
// The object package: rules reach the host's objects by reflection. They
// make and free components by class name, walk the components below the
// engine's owner and read and write published properties by name. An
// object value only borrows its object; a component that goes, by whatever
// hand, leaves the values that held it holding nil.

#include "cogent/functions/KBHelperFunctions.h"

namespace cogent {

// Our own texts: only components can be tracked by the values that borrow
// them, and the engine must outlive the call that runs in it.
inline constexpr const char* SCannotCreateObject = "Cannot create an object of class %s: it is no component class";
inline constexpr const char* SCannotFreeObject = "Cannot free %s: it is no component";
inline constexpr const char* SCannotFreeEngine = "Cannot free %s: the engine depends on it";

class TObjectPackage : public TUserPackage {
public:
  explicit TObjectPackage(TComponent* AOwner);
  ~TObjectPackage() override;

protected:
  void CreateFunctions() override;
};

COGENT_BUILT_IN_FUNCTION(TCreateObjectFunction)
COGENT_BUILT_IN_FUNCTION(TExecuteActionFunction)
COGENT_BUILT_IN_FUNCTION(TFreeObjectFunction)
COGENT_BUILT_IN_FUNCTION(TGetComponentFunction)
COGENT_BUILT_IN_FUNCTION(TGetComponentsFunction)
COGENT_BUILT_IN_FUNCTION(TGetPropertyFunction)
COGENT_BUILT_IN_FUNCTION(TGetPropertiesFunction)
COGENT_BUILT_IN_FUNCTION(TSetPropertyFunction)
COGENT_BUILT_IN_FUNCTION(TGetClassFunction)
COGENT_BUILT_IN_FUNCTION(TIsClassFunction)

}  // namespace cogent
