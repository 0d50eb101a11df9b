#pragma once

#include "host/process/ModelProcess.hpp"
#include "host/process/ModelSource.hpp"

namespace amisim {

/// Whether the model's .ami says that it has AMI_Resolve.
bool HasDependent(const ModelSource& model);

/// Has the model's AMI_Resolve tell its parameters of Usage Dep, in a process of its own, where it
/// has that; what it tells then stands in the model's definitions. AMI_Resolve is handed what
/// AMI_Init will be. A parameter that it leaves out keeps its stated value, with a note.
/// @param bitTime  s
/// @throws ModelFailure for a call, Error (kModelLoad) where it is not exported, and for what it
///         gives back that cannot be understood
void ResolveDependent(ModelSource& model, double bitTime, ModelProcess::Settings settings);

/// The same with what AMI_Resolve gave back.
void TakeDependent(ModelSource& model, std::string_view parametersOut);

}  // namespace amisim
