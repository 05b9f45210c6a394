// Built for another version of the interface.

extern "C" const int tovGrabEncoderAbi0;
extern "C" __attribute__((visibility("default"))) bool doRegister()
{
    return tovGrabEncoderAbi0 == 0;
}
