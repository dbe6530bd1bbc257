#pragma once

// OpenEXR on the two doors. For readers and writers of images, render passes and parts.
// OpenEXR 3.1 checks some things only while it allocates: readExrHeaders() looks at all of them
// first.

#include "io/InputFile.h"
#include "io/OutputFile.h"

#include <ImfHeader.h>
#include <ImfIO.h>

namespace io {

class ExrInputStream : public Imf::IStream
{
public:
    /// @param file  must outlive the stream
    explicit ExrInputStream(InputFile& file) : IStream(file.getName().c_str()), m_file(file) {}
    bool read(char target[], int size) override
    {
        if (size < 0)
            m_file.fail("damaged OpenEXR file");
        m_file.readExactly(target, std::size_t(size));
        return m_file.getPosition() < m_file.getSize();
    }
    uint64_t tellg() override { return m_file.getPosition(); }
    void seekg(uint64_t position) override { m_file.seek(position); }

private:
    InputFile& m_file;
};

class ExrOutputStream : public Imf::OStream
{
public:
    /// @param file  must outlive the stream; commit() is left to the caller
    explicit ExrOutputStream(OutputFile& file) : OStream(file.getName().c_str()), m_file(file) {}
    void write(const char data[], int size) override { m_file.write(data, std::size_t(size)); }
    uint64_t tellp() override { return m_file.getPosition(); }
    void seekp(uint64_t position) override { m_file.seek(position); }

private:
    OutputFile& m_file;
};

/// Reads the headers of all parts and checks count, windows and tiles against the file's limits,
/// before anything is allocated for them. The position is at the start again afterwards.
/// @throws InputError
std::vector<Imf::Header> readExrHeaders(InputFile& file);

} // namespace io
