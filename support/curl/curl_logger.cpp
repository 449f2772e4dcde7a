#include "support/curl/curl_logger.h"

#include "support/curl/curl_plain_text.h"
#include "support/fio/fio_file_system.h"

#include <spdlog/details/log_msg.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/basic_file_sink.h>

#include <array>
#include <fstream>

CURL_LOGGER::CURL_LOGGER(std::string path, int level) : m_path(std::move(path)), m_level(level) {}

CURL_LOGGER::~CURL_LOGGER()
{
    close();
}

bool CURL_LOGGER::open()
{
    if (m_path.empty() || !FIO_FILE_SYSTEM::create_private_file(m_path))
        return false;
    try
    {
        m_sink = std::make_shared<spdlog::sinks::basic_file_sink_mt>(fio_path(m_path).native());
        // The same line ends on every platform, because logs are compared across platforms.
        m_sink->set_formatter(std::make_unique<spdlog::pattern_formatter>(
            "[%Y-%m-%d %H:%M:%S.%e] [%l] %v", spdlog::pattern_time_type::local, "\n"));
    }
    catch (const spdlog::spdlog_ex&)
    {
        return false;
    }
    return true;
}

void CURL_LOGGER::close()
{
    m_sink.reset();
}

void CURL_LOGGER::write_plain(SEVERITY severity, std::string_view text)
{
    if (m_sink != nullptr)
        write(severity, curl_plain_text(text));
}

void CURL_LOGGER::write(SEVERITY severity, std::string text)
{
    if (m_sink == nullptr)
        return;
    if (!text.empty() && text.back() == '\n')
        text.pop_back();
    const auto level = severity == SEVERITY::error  ? spdlog::level::err
                       : severity == SEVERITY::info ? spdlog::level::info
                                                    : spdlog::level::debug;
    try
    {
        m_sink->log(spdlog::details::log_msg("vinst", level, text));
        m_sink->flush();
    }
    catch (const std::exception&)
    {
        // A full disk must not end the run that reports it.
    }
}

void CURL_LOGGER::info_with_file(std::string_view start, const std::string& content_path)
{
    if (m_sink == nullptr)
        return;
    std::ifstream content(fio_path(content_path), std::ios::binary);
    std::array<char, 64 * 1024> block;
    std::string text = curl_plain_text(start);
    while (content.read(block.data(), block.size()), content.gcount() > 0)
    {
        text.append(block.data(), static_cast<std::size_t>(content.gcount()));
        if (content.eof())
            break;
        const std::size_t line_end = text.rfind('\n');
        const std::size_t cut = line_end == std::string::npos ? text.size() : line_end + 1;
        write(SEVERITY::info, text.substr(0, cut));
        text.erase(0, cut);
    }
    write(SEVERITY::info, std::move(text));
}
