# Fails where a file below src/ includes more than its folder may. A folder may include itself and what
# is listed behind it, which must have a line of its own above: so no two folders need each other.
cmake_minimum_required(VERSION 3.24)

get_filename_component(src ${CMAKE_CURRENT_LIST_DIR}/../src ABSOLUTE)

# The headers of platform/sound itself are interfaces, which all of the sound may include.
set(sound platform/sound)

set(rules
    "platform/sound/thread:   ${sound}"
    "platform/sound/effect:   ${sound}"
    "platform/sound/file:     ${sound}"
    "platform/sound/attack:   ${sound} platform/sound/effect"
    "platform/sound/stretch:  ${sound} platform/sound/effect platform/sound/attack"
    "platform/sound/play:     ${sound} platform/sound/effect platform/sound/attack platform/sound/stretch
                              platform/sound/thread"
    "platform/sound/device:   ${sound} platform/sound/effect platform/sound/thread"
    "platform/sound:          platform/sound/file platform/sound/play platform/sound/thread"
    "platform/desktop:"
    "platform/store:"
    "store:          platform/store"
    "audio:          platform/desktop platform/sound platform/sound/device"
    "waveform:       platform/store platform/sound store audio"
    "download:       platform/desktop"
    "app:            platform/desktop platform/sound store audio waveform"
    "waveform/view:  audio waveform app"
    "ui/look:"
    "ui/controls:    platform/desktop app ui/look"
    "ui/sheets:      store app ui/look ui/controls"
    "download/sheet: platform/desktop download app ui/look ui/controls ui/sheets"
    "ui/panels:      audio app ui/look ui/controls"
    "ui/settings:    platform/desktop store waveform app ui/look ui/controls ui/sheets"
    "ui/window:      platform/desktop store audio waveform app waveform/view ui/look ui/controls ui/sheets
                     download/sheet ui/panels"
    "app/main:       platform/desktop platform/store store audio waveform download app ui/look ui/controls
                     ui/settings ui/window")

set(wrong)
set(known ${sound})
foreach(rule IN LISTS rules)
    string(REGEX REPLACE ":.*" "" folder "${rule}")
    string(REGEX MATCHALL "[^ \n]+" allowed "${rule}")
    list(POP_FRONT allowed)
    foreach(other IN LISTS allowed)
        if(NOT other IN_LIST known)
            list(APPEND wrong "${folder} may not include ${other}, which stands below it here")
        endif()
    endforeach()
    list(APPEND known ${folder})
    file(GLOB sources ${src}/${folder}/*.h ${src}/${folder}/*.cpp)
    if(NOT sources)
        list(APPEND wrong "${folder} is empty")
    endif()
    foreach(source IN LISTS sources)
        file(STRINGS ${source} includes REGEX "^#include \"")
        foreach(include IN LISTS includes)
            string(REGEX REPLACE "^#include \"(.*)/[^/]+\".*" "\\1" included ${include})
            if(NOT included IN_LIST allowed AND NOT included STREQUAL folder)
                file(RELATIVE_PATH file ${src} ${source})
                list(APPEND wrong "${file}: ${include}")
            endif()
        endforeach()
    endforeach()
endforeach()

file(GLOB_RECURSE sources RELATIVE ${src} ${src}/*.h ${src}/*.cpp)
foreach(source IN LISTS sources)
    get_filename_component(folder "${source}" DIRECTORY)
    if(NOT folder IN_LIST known)
        list(APPEND wrong "${source}: its folder has no rule")
    endif()
endforeach()

if(wrong)
    list(JOIN wrong "\n" wrong)
    message(FATAL_ERROR "Includes against the direction of the layers:\n${wrong}")
endif()
