// The library of the good file with an [Algorithmic Model]: nothing but the names it exports.
#define EXPORT extern "C" __attribute__((visibility("default")))

EXPORT long AMI_Init()
{
    return 1;
}

EXPORT long AMI_GetWave()
{
    return 1;
}

EXPORT long AMI_Close()
{
    return 1;
}
