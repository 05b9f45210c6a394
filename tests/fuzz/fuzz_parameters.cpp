// Texts of parameters give a value or an exception, and the text of a value gives that value.

#include "kernel/main/castclassmanager.h"
#include "kernel/math/matrix.h"

#include <QImage>

#include <cstdlib>

using tov::main::CastClass;
using tov::main::CastClassManager;
using tov::util::ZPointer;

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    if (size == 0)
        return 0;
    // Without images, which have no text form.
    auto* const manager = CastClassManager::getInstance();
    static const ZPointer<CastClass> casts[] = {
        manager->createCastClassForType(&typeid(bool)), manager->createCastClassForType(&typeid(int)),
        manager->createCastClassForType(&typeid(double)), manager->createCastClassForType(&typeid(tov::math::Matrix4))};
    const ZPointer<CastClass>& cast = casts[data[0] % 4];
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data + 1), int(size - 1));
    void* value = nullptr;
    try {
        value = cast->fromString(text);
    } catch (const std::exception&) {
        return 0;
    }
    const QString written = cast->toString(value);
    cast->deleteValue(value);
    void* again = cast->fromString(written); // an exception here is a finding
    if (cast->toString(again) != written)
        std::abort();
    cast->deleteValue(again);
    return 0;
}
