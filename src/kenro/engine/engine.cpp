#include <kenro/engine/engine.h>

#include <kenro/editors/interface/interface.h>

#include <QColor>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMessageBox>
#include <QRect>
#include <QRegularExpression>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

namespace Kenro {

// --- EngineInstances -------------------------------------------------------

EngineInstances::EngineInstances(QString const &name)
    : m_directory(QStringLiteral("/engines/") + name)
{
    if (Interface *host = Interface::instance())
        m_configFile =
            host->settingsDirectory() + QLatin1Char('/') + name + QStringLiteral("_config.xml");
}

EngineInstances::~EngineInstances()
{
    qDeleteAll(m_instances);
}

void EngineInstances::add(QString const &name, QString const &exe, QString const &params,
                          QString const &icon)
{
    int const row = static_cast<int>(m_instances.size());
    beginInsertRows(QModelIndex(), row, row);
    m_instances.append(new Info{name, exe, params, icon});
    endInsertRows();
}

void EngineInstances::edit(unsigned int index, QString const &name, QString const &exe,
                           QString const &params, QString const &icon)
{
    if (index >= count())
        return;
    *m_instances[static_cast<int>(index)] = Info{name, exe, params, icon};
    QModelIndex const changed = createIndex(static_cast<int>(index), 0);
    Q_EMIT dataChanged(changed, changed);
}

void EngineInstances::remove(unsigned int index)
{
    if (index >= count())
        return;
    int const row = static_cast<int>(index);
    beginRemoveRows(QModelIndex(), row, row);
    delete m_instances.takeAt(row);
    endRemoveRows();
}

void EngineInstances::move(unsigned int from, unsigned int to)
{
    int const source = static_cast<int>(from);
    int const target = static_cast<int>(to);
    if (from >= count() || to >= count() || from == to)
        return;
    // A row moved down lands before the row that was at to + 1.
    int const destination = target > source ? target + 1 : target;
    if (!beginMoveRows(QModelIndex(), source, source, QModelIndex(), destination))
        return;
    m_instances.move(source, target);
    endMoveRows();
}

void EngineInstances::clear()
{
    if (m_instances.isEmpty())
        return;
    beginRemoveRows(QModelIndex(), 0, static_cast<int>(m_instances.size()) - 1);
    qDeleteAll(m_instances);
    m_instances.clear();
    endRemoveRows();
}

EngineInstances::Info EngineInstances::at(unsigned int index) const
{
    return index < count() ? *m_instances.at(static_cast<int>(index)) : Info();
}

unsigned int EngineInstances::count() const
{
    return static_cast<unsigned int>(m_instances.size());
}

QString EngineInstances::directory() const
{
    return m_directory;
}

QString EngineInstances::configFile() const
{
    return m_configFile;
}

int EngineInstances::rowCount(QModelIndex const &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_instances.size());
}

QVariant EngineInstances::data(QModelIndex const &index, int role) const
{
    if (!index.isValid() || index.row() >= m_instances.size() || index.column() != 0)
        return QVariant();
    Info const *info = m_instances.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return info->name;
    case Qt::DecorationRole: {
        if (!info->icon.isEmpty())
            return QIcon(info->icon);
        Interface *host = Interface::instance();
        QString const base = host ? host->resourceDirectory() : QString();
        return QIcon(base + m_directory + QStringLiteral("/icon.png"));
    }
    default:
        return QVariant();
    }
}

// --- EnginePrivate ---------------------------------------------------------

EnginePrivate::EnginePrivate(QString const &name) : EngineInstances(name)
{
    load();
}

EnginePrivate::~EnginePrivate()
{
    save();
}

Engine *EnginePrivate::publicEngine()
{
    return static_cast<Engine *>(this);
}

QVariant EnginePrivate::option(QString const &key, QVariant const &defaultValue) const
{
    auto const found = options.constFind(key);
    if (found != options.constEnd())
        return found.value();
    if (Interface *host = Interface::instance())
        return host->option(key, defaultValue);
    return defaultValue;
}

void EnginePrivate::setOption(QString const &key, QVariant const &value)
{
    options.insert(key, value);
}

namespace {

QString const configurationError = QStringLiteral("Configuration error!");

void showCritical(QWidget *parent, QString const &title, QString const &text)
{
    QMessageBox::critical(parent, title, text, QMessageBox::StandardButtons(QMessageBox::Ok));
}

QString optionText(QVariant const &value)
{
    if (value.typeId() == QMetaType::QRect) {
        QRect const rect = value.toRect();
        return QStringLiteral("%1,%2,%3,%4")
            .arg(rect.x())
            .arg(rect.y())
            .arg(rect.right() - rect.left() + 1)
            .arg(rect.bottom() - rect.top() + 1);
    }
    if (value.typeId() == QMetaType::QColor) {
        QColor const color = value.value<QColor>();
        return QStringLiteral("%1,%2,%3").arg(color.red()).arg(color.green()).arg(color.blue());
    }
    return value.toString();
}

QVariant optionValue(QString const &text)
{
    static QRegularExpression const numbers(
        QStringLiteral("^(\\d+)\\,(\\d+)\\,(\\d+)(?:\\,(\\d+))?$"));
    QRegularExpressionMatch const match = numbers.match(text);
    if (!match.hasMatch())
        return text;
    int const a = match.captured(1).toInt();
    int const b = match.captured(2).toInt();
    int const c = match.captured(3).toInt();
    if (match.capturedStart(4) >= 0)
        return QRect(a, b, c, match.captured(4).toInt());
    return QColor(a, b, c, 255);
}

// Reads the fields of one "engine" element up to its end.
void readInstance(QXmlStreamReader *reader, EngineInstances::Info &info)
{
    while (!reader->atEnd() && !reader->hasError()) {
        QXmlStreamReader::TokenType const token = reader->readNext();
        if (token == QXmlStreamReader::EndElement && reader->name() == QLatin1String("engine"))
            return;
        if (token != QXmlStreamReader::StartElement || reader->name() != QLatin1String("param"))
            continue;
        QXmlStreamAttributes const attributes = reader->attributes();
        QStringView const field = attributes.value(QLatin1String("name"));
        QString const value = attributes.value(QLatin1String("value")).toString();
        if (field == QLatin1String("exe"))
            info.exe = value;
        else if (field == QLatin1String("icon"))
            info.icon = value;
        else if (field == QLatin1String("params"))
            info.params = value;
    }
}

} // namespace

bool EnginePrivate::load(QXmlStreamReader *reader)
{
    if (!m_instances.isEmpty()) {
        beginRemoveRows(QModelIndex(), 0, static_cast<int>(m_instances.size()) - 1);
        qDeleteAll(m_instances);
        m_instances.clear();
        endRemoveRows();
    }

    // Records are gathered first and announced together once reading ends,
    // so that a file broken halfway keeps what came before the fault.
    QList<Info *> read;
    while (!reader->atEnd() && !reader->hasError()) {
        QXmlStreamReader::TokenType const token = reader->readNext();
        if (token == QXmlStreamReader::EndElement &&
            reader->name() == QLatin1String("configuration"))
            break;
        if (token != QXmlStreamReader::StartElement)
            continue;
        if (reader->name() == QLatin1String("engine")) {
            auto *info = new Info;
            info->name = reader->attributes().value(QLatin1String("name")).toString();
            readInstance(reader, *info);
            read.append(info);
        } else if (reader->name() == QLatin1String("config")) {
            QXmlStreamAttributes const attributes = reader->attributes();
            options.insert(attributes.value(QLatin1String("name")).toString(),
                           optionValue(attributes.value(QLatin1String("value")).toString()));
        }
    }
    if (!read.isEmpty()) {
        beginInsertRows(QModelIndex(), 0, static_cast<int>(read.size()) - 1);
        m_instances = read;
        endInsertRows();
    }
    return !reader->hasError();
}

bool EnginePrivate::save(QXmlStreamWriter *writer)
{
    writer->writeStartElement(QStringLiteral("configuration"));
    for (Info const *info : std::as_const(m_instances)) {
        writer->writeStartElement(QStringLiteral("engine"));
        writer->writeAttribute(QStringLiteral("name"), info->name);
        auto const param = [writer](QString const &name, QString const &value) {
            writer->writeStartElement(QStringLiteral("param"));
            writer->writeAttribute(QStringLiteral("name"), name);
            writer->writeAttribute(QStringLiteral("value"), value);
            writer->writeEndElement();
        };
        param(QStringLiteral("exe"), info->exe);
        param(QStringLiteral("icon"), info->icon);
        param(QStringLiteral("params"), info->params);
        writer->writeEndElement();
    }
    for (auto it = options.constBegin(); it != options.constEnd(); ++it) {
        writer->writeStartElement(QStringLiteral("config"));
        writer->writeAttribute(QStringLiteral("name"), it.key());
        writer->writeAttribute(QStringLiteral("value"), optionText(it.value()));
        writer->writeEndElement();
    }
    writer->writeEndElement();
    return !writer->hasError();
}

bool EnginePrivate::load()
{
    if (m_configFile.isEmpty() || !QFile::exists(m_configFile))
        return true;
    QFile file(m_configFile);
    if (!file.open(QIODevice::ReadOnly)) {
        showCritical(
            nullptr, configurationError,
            QStringLiteral("Can't open engine configuration from '%1'!").arg(m_configFile));
        return false;
    }
    QXmlStreamReader reader(&file);
    reader.setNamespaceProcessing(false);
    if (load(&reader))
        return true;
    if (Interface *host = Interface::instance()) {
        showCritical(host->mainWindow(), host->messageText(0),
                     host->messageText(1)
                         .arg(reader.errorString())
                         .arg(reader.lineNumber())
                         .arg(reader.columnNumber()));
    }
    return false;
}

bool EnginePrivate::save()
{
    if (m_configFile.isEmpty())
        return true;
    if (!QFile::exists(m_configFile))
        QDir().mkpath(QFileInfo(m_configFile).absolutePath());
    QFile file(m_configFile);
    if (!file.open(QIODevice::WriteOnly)) {
        showCritical(nullptr, configurationError,
                     QStringLiteral("Can't save engine configuration to '%1'!").arg(m_configFile));
        return false;
    }
    QXmlStreamWriter writer(&file);
    writer.setAutoFormatting(true);
    writer.writeStartDocument();
    bool const written = save(&writer);
    writer.writeEndDocument();
    return written && !writer.hasError();
}

// --- Engine ----------------------------------------------------------------

Engine::Engine(QString const &name) : EnginePrivate(name) {}

Engine::~Engine() = default;

void Engine::registerCustomOptions(QWidget *) {}

void Engine::registerScriptClasses(sol::state &) {}

Debugger *Engine::debugger() const
{
    return nullptr;
}

Emulator *Engine::emulator() const
{
    return nullptr;
}

QString Engine::path() const
{
    Interface *host = Interface::instance();
    QString const base = host ? host->applicationDirectory() : QDir::currentPath();
    return base + m_directory;
}

} // namespace Kenro
