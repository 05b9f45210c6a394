extern "C" __attribute__((visibility("default"))) int absentFunction()
{
    return 1;
}
