// A library that lacks a part of its own.
extern "C" long DefinedByNobody();

extern "C" __attribute__((visibility("default"))) long AMI_Init()
{
    return DefinedByNobody();
}
