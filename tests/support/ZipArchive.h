#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <archive.h>
#include <archive_entry.h>

#include <memory>

/// A zip archive made in memory, whatever its names lead to. Link LibArchive::LibArchive.
///
///     ZipArchive().file("Game-master/project.godot", "...").bytes()
class ZipArchive final {
public:
    ZipArchive()
        : m_bytes(std::make_unique<QByteArray>())
        , m_archive(archive_write_new(), archive_write_free)
    {
        require(archive_write_set_format_zip(m_archive.get()));
        require(archive_write_set_bytes_in_last_block(m_archive.get(), 1)); // no zeros behind the end
        require(archive_write_open(m_archive.get(), m_bytes.get(), nullptr, append, nullptr));
    }

    ZipArchive &file(const QByteArray &name, const QByteArray &content, int permissions = 0644)
    {
        const auto entry = newEntry(name, AE_IFREG, permissions);
        archive_entry_set_size(entry.get(), content.size());
        require(archive_write_header(m_archive.get(), entry.get()));
        if (archive_write_data(m_archive.get(), content.constData(), static_cast<size_t>(content.size()))
            != content.size())
            qFatal("A zip archive for the test could not be made.");
        return *this;
    }

    ZipArchive &folder(const QByteArray &name)
    {
        require(archive_write_header(m_archive.get(), newEntry(name, AE_IFDIR, 0755).get()));
        return *this;
    }

    ZipArchive &link(const QByteArray &name, const QByteArray &target)
    {
        const auto entry = newEntry(name, AE_IFLNK, 0777);
        archive_entry_set_symlink_utf8(entry.get(), target.constData());
        require(archive_write_header(m_archive.get(), entry.get()));
        return *this;
    }

    /// Ends the archive.
    QByteArray bytes()
    {
        require(archive_write_close(m_archive.get()));
        return *m_bytes;
    }

private:
    using Entry = std::unique_ptr<archive_entry, decltype(&archive_entry_free)>;

    static Entry newEntry(const QByteArray &name, unsigned int kind, int permissions)
    {
        Entry entry(archive_entry_new(), archive_entry_free);
        archive_entry_set_pathname_utf8(entry.get(), name.constData());
        archive_entry_set_filetype(entry.get(), kind);
        archive_entry_set_perm(entry.get(), static_cast<mode_t>(permissions));
        return entry;
    }

    static la_ssize_t append(archive *, void *bytes, const void *piece, size_t size)
    {
        const QByteArrayView view(static_cast<const char *>(piece), static_cast<qsizetype>(size));
        static_cast<QByteArray *>(bytes)->append(view);
        return static_cast<la_ssize_t>(size);
    }

    static void require(int result)
    {
        if (result != ARCHIVE_OK)
            qFatal("A zip archive for the test could not be made.");
    }

    std::unique_ptr<QByteArray> m_bytes; // in one place while the archive writes to it
    std::unique_ptr<archive, decltype(&archive_write_free)> m_archive;
};
