#pragma once

#include <QString>

/// The file that the trace is to go to. It is there from claim() on, lest another takes its name,
/// or it turns out after an hour of recording that it cannot be written.
class OutputFile {
public:
    explicit OutputFile(const QString& path) : m_path(path) {}
    /// Leaves no empty file behind.
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// Creates it, or sees whether the one that is there can be written: its contents stay so far.
    /// \return what is wrong, nothing where all is well
    QString claim(bool mayReplace);

    /// Writes the whole trace. Where that fails, into a new file in the folder for temporary ones.
    /// REQUIRES: nobody records any more
    /// \return what is wrong, nothing where all is well
    QString write();

private:
    QString m_path;
    bool m_isCreated = false; ///< and nothing is in it yet
};
