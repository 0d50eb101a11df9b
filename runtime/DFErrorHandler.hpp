#pragma once

namespace Vantor {

class DFModel;

/// Where blocks report. Texts go to standard error unchanged, each followed by an end of line:
/// no prefix, block name or time stamp. The reporting block may be null and is not used.
class DFErrorHandler
{
public:
    static void PostError(DFModel* pModel, const char* pMessage);
    static void PostWarning(DFModel* pModel, const char* pMessage);
    static void PostInfo(DFModel* pModel, const char* pMessage);
    static void PostLog(DFModel* pModel, const char* pMessage);
    static void PostProgress(DFModel* pModel, const char* pMessage);

    /// Does nothing: there is no progress display to clear.
    static void ClearProgress(DFModel* pModel);

    /// Always false: nobody can ask a running model to stop.
    static bool StopRequested();
};

}  // namespace Vantor
