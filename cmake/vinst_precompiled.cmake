# Precompiled headers: each set is compiled once and used by many targets. Sources must still include
# what they use: scripts/lint.sh and builds with VINST_PCH=OFF don't use these sets.
option(VINST_PCH "Precompile the headers of libraries" ON)

set(VINST_STANDARD_HEADERS
  <algorithm> <array> <atomic> <chrono> <condition_variable> <cstdint> <cstdlib> <cstring>
  <filesystem> <functional> <memory> <mutex> <optional> <string> <string_view> <thread> <utility>
  <vector>)
set(VINST_QT_CORE_HEADERS ${VINST_STANDARD_HEADERS}
  <QByteArray> <QCoreApplication> <QDir> <QEventLoop> <QFile> <QFileInfo> <QHash> <QJsonArray>
  <QJsonDocument> <QJsonObject> <QProcess> <QRegularExpression> <QSet> <QString> <QStringList>
  <QTimer> <QUrl> <QVariant>)
set(VINST_QT_WIDGETS_HEADERS ${VINST_QT_CORE_HEADERS}
  <QApplication> <QCheckBox> <QDialog> <QHeaderView> <QLabel> <QLineEdit> <QMessageBox> <QPainter>
  <QPushButton> <QTreeView> <QWidget>)
set(VINST_TEST_HEADERS ${VINST_QT_WIDGETS_HEADERS} <QTest> <fstream> <gmock/gmock.h>
  <gtest/gtest.h> <regex> <sstream>)

# Declares a set as the target vinst_pch_NAME: vinst_header_set(NAME LIBRARIES HEADERS...). Its
# users need the same compiler options, except for macros that the headers don't use; otherwise the
# compiler warns.
function(vinst_header_set name libraries)
  set(source ${CMAKE_BINARY_DIR}/precompiled/${name}.cpp)
  file(CONFIGURE OUTPUT ${source} CONTENT "// Only for precompiled headers.\n")
  add_library(vinst_pch_${name} OBJECT EXCLUDE_FROM_ALL ${source})
  set_target_properties(vinst_pch_${name} PROPERTIES AUTOMOC OFF AUTOUIC OFF AUTORCC OFF)
  target_link_libraries(vinst_pch_${name} PRIVATE vinst_options ${libraries})
  target_precompile_headers(vinst_pch_${name} PRIVATE ${ARGN})
endfunction()

if(VINST_PCH)
  vinst_header_set(standard "" ${VINST_STANDARD_HEADERS})
  vinst_header_set(core Qt5::Core ${VINST_QT_CORE_HEADERS})
  vinst_header_set(widgets Qt5::Widgets ${VINST_QT_WIDGETS_HEADERS})
endif()

# Lets targets use a set: vinst_precompiled(SET TARGETS...)
function(vinst_precompiled set)
  if(VINST_PCH)
    foreach(target IN LISTS ARGN)
      target_precompile_headers(${target} REUSE_FROM vinst_pch_${set})
    endforeach()
  endif()
endfunction()
