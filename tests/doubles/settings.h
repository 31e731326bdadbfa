#pragma once

#include <initializer_list>
#include <utility>

#include <config/config.h>

/// The process's settings for one test: "<section>:<key>" and its value. Forgotten with the object.
class Settings
{
public:
    Settings(std::initializer_list<std::pair<const char*, const char*>> values = {})
    {
        for (const auto& [key, value] : values) {
            set(key, value);
        }
    }
    ~Settings() { Singleton<Config>::instance()->clear(); }
    Settings(const Settings&) = delete;
    Settings& operator=(const Settings&) = delete;

    void set(const QString& key, const QString& value)
    {
        Singleton<Config>::instance()->setValue(key, value);
    }
};
