// A model for statistical simulation only.
extern "C" __attribute__((visibility("default"))) long AMI_Init()
{
    return 1;
}
extern "C" __attribute__((visibility("default"))) long AMI_Close()
{
    return 1;
}
