#pragma once

#include "scene/import/readers.h"

#include <QByteArray>

#include <cstddef>

namespace tov::scene {

/// Shared memory that the importer process has written; see meshstream.h.
class ImportedBytes
{
public:
    /// Maps what the descriptor refers to. Throws `std::bad_alloc`.
    explicit ImportedBytes(int descriptor);
    ImportedBytes(ImportedBytes&& other) noexcept;
    ImportedBytes(const ImportedBytes&) = delete;
    ImportedBytes& operator=(const ImportedBytes&) = delete;
    ~ImportedBytes();

    /// The bytes; they stay valid as long as this object.
    const char* data() const { return mp_Data; }
    /// The number of bytes.
    std::size_t size() const { return m_Size; }

private:
    const char* mp_Data = nullptr;
    std::size_t m_Size = 0;
};

/// Runs the importer process for a model and waits for it. `mode` and `list`: see process/main.cpp. Throws `ReadError`,
/// `ReadCancelled`, `std::bad_alloc`.
ImportedBytes runImportProcess(const ReadSource& source, const char* mode, const QByteArray& list = QByteArray());

} // namespace tov::scene
