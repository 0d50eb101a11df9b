#include "runtime/DFErrorHandler.hpp"

#include <cstdio>

namespace Vantor {

void DFErrorHandler::PostError(DFModel* /*pModel*/, const char* pMessage)
{
    std::fprintf(stderr, "%s\n", pMessage);
    std::fflush(stderr);
}

void DFErrorHandler::PostWarning(DFModel* pModel, const char* pMessage)
{
    PostError(pModel, pMessage);
}

void DFErrorHandler::PostInfo(DFModel* pModel, const char* pMessage)
{
    PostError(pModel, pMessage);
}

void DFErrorHandler::PostLog(DFModel* pModel, const char* pMessage)
{
    PostError(pModel, pMessage);
}

void DFErrorHandler::PostProgress(DFModel* pModel, const char* pMessage)
{
    PostError(pModel, pMessage);
}

void DFErrorHandler::ClearProgress(DFModel* /*pModel*/) {}

bool DFErrorHandler::StopRequested()
{
    return false;
}

}  // namespace Vantor
