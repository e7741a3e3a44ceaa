#pragma once

#include <ZelGL/GLSLMacroProcessor.h>
#include <ZelShaders/LineMap.h>

#include <QtCore/QStringList>

class QCommandLineParser;

/// Exit codes, as --help lists them.
enum ExitCode { eSuccess = 0, eFindings = 1, eUsage = 2, eNoFile = 3 };

/// What the options of a command line say about the shaders.
struct Input
{
    Orvane::Zel::GLSLMacroProcessor processor; ///< with the folders, defines and macros
    Orvane::ZelShaders::LineMap::PlanTexts plans;
    QStringList files;
    QStringList linked;     ///< further files of each stage
    unsigned int stage = 0; ///< GL stage of all files; 0: by their names
    bool withMap = false;
    bool asDot = false;
    bool withCompiler = false;
    bool isStrict = false;

    static void addOptionsTo(QCommandLineParser &parser);
    /// Reads the options for a command. Returns an error in words, or an empty string.
    QString read(const QCommandLineParser &parser, const QString &command);
};

/// Reads a file or, for a name without a file, a stage of the library. False if there is none.
bool readSource(const QString &name, QString &path, QString &text);

/// The GL stage by the name of a file: vert, frag, geom, tesc and tese as suffix, or VS, FS, GS, TCS and TES before the
/// suffix. 0 if the name has neither.
unsigned int stageOf(const QString &file);
/// The suffix of a stage, which glslangValidator takes as its name; empty for 0.
QString suffixOf(unsigned int stage);

/// A line on the standard output.
void print(const QString &line);
/// A line on the standard error output, after the name of the program.
void printError(const QString &line);
/// The same for wrong arguments. Returns eUsage.
int failUsage(const QString &message);
