#pragma once

#include <QString>

#include <memory>
#include <vector>

namespace tov::app {

/// A loaded encoder plug-in. Its library stays loaded while the object exists. Thread: any.
class EncoderPlugin
{
public:
    /// The loaded plug-ins, in the order of loading.
    static std::vector<EncoderPlugin> loaded();

    const QString& fileName() const { return m_FileName; }
    /// A function that the plug-in exports (see docs/encoder-plugins.md); null when it does not.
    template <typename Function>
    Function* function(const char* name) const
    {
        return reinterpret_cast<Function*>(symbol(name));
    }

private:
    EncoderPlugin(const QString& fileName, void* library);
    void* symbol(const char* name) const;

    QString m_FileName;
    std::shared_ptr<void> m_Library;
};

} // namespace tov::app
