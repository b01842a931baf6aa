#include "cli/options.h"

#include "base/qt_text.h"

#include <QCommandLineParser>
#include <QRegularExpression>

#include <algorithm>
#include <ostream>

namespace korvalume::cli {

namespace {

// The argument as the user typed it that names `option` ("-o", "--output=x" gives
// "--output").
std::string typed(std::span<const std::string> args, const QString& option) {
    for (const auto& arg : args) {
        const QString text = QString::fromStdString(arg).section(u'=', 0, 0);
        if (text == QStringLiteral("--") + option || text == QStringLiteral("-") + option)
            return text.toStdString();
    }
    return "--" + option.toStdString();
}

} // namespace

std::vector<std::string> ParsedArgs::values(std::string_view name) const {
    const auto found = values_.find(std::string(name));
    return found == values_.end() ? std::vector<std::string>{} : found->second;
}

std::optional<std::string> ParsedArgs::value(std::string_view name) const {
    const auto all = values(name);
    return all.empty() ? std::nullopt : std::optional(all.back());
}

std::optional<ParsedArgs> parseArgs(std::span<const std::string> args,
                                    std::initializer_list<OptionSpec> specs,
                                    std::string_view command, std::ostream& err) {
    QCommandLineParser parser;
    // "-o" is the option "o", never the letters of a cluster.
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsOptions);
    for (const auto& spec : specs) {
        QStringList names;
        for (const auto name : spec.names)
            names.append(qs(name));
        QCommandLineOption option(names);
        if (spec.value)
            option.setValueName(QStringLiteral("value"));
        parser.addOption(option);
    }
    QStringList arguments{QStringLiteral("korvalume")};
    for (const auto& arg : args)
        arguments.append(QString::fromStdString(arg));

    const std::string prefix = "korvalume " + std::string(command) + ": ";
    if (!parser.parse(arguments)) {
        if (!parser.unknownOptionNames().isEmpty()) {
            err << prefix << "unknown option '" << typed(args, parser.unknownOptionNames().first())
                << "'\n";
            return std::nullopt;
        }
        // Qt says "Missing value after '-o'." or "Unexpected value after '--json'."; the
        // option is all we take from it.
        const auto named =
            QRegularExpression(QStringLiteral("'-*([^']+)'")).match(parser.errorText());
        const QString name = named.hasMatch() ? named.captured(1) : QString();
        if (parser.errorText().startsWith(QStringLiteral("Unexpected value"))) {
            err << prefix << typed(args, name) << " takes no value\n";
            return std::nullopt;
        }
        const auto spec = std::find_if(specs.begin(), specs.end(), [&](const OptionSpec& s) {
            return std::find(s.names.begin(), s.names.end(), name.toStdString()) != s.names.end();
        });
        err << prefix << typed(args, name) << " needs "
            << (spec != specs.end() && spec->value ? *spec->value : "a value") << '\n';
        return std::nullopt;
    }

    ParsedArgs parsed;
    for (const auto& spec : specs) {
        const QString first = qs(spec.names.front());
        if (!parser.isSet(first))
            continue;
        auto& values = parsed.values_[std::string(spec.names.front())];
        if (spec.value) {
            for (const QString& value : parser.values(first))
                values.push_back(value.toStdString());
        }
    }
    for (const QString& positional : parser.positionalArguments())
        parsed.positional_.push_back(positional.toStdString());
    return parsed;
}

} // namespace korvalume::cli
