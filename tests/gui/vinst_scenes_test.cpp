#include "tests/gui/cut_controls.h"
#include "tests/gui/downloader_dlg_fixture.h"
#include "tests/harness/large_release.h"

#include "install/vinst/gui/vinst_log_viewer_dlg.h"
#include "install/vinst/gui/vinst_message_box.h"
#include "install/vinst/gui/vinst_settings_dlg.h"
#include "support/afcq/afcq_style.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QRadioButton>

namespace
{

struct SCENE_CASE
{
    QSize screen; ///< for the window, without its frame
    int font;     ///< points
    bool is_large;
};

void PrintTo(const SCENE_CASE& scene, std::ostream* out)
{
    *out << scene.screen.width() << "x" << scene.screen.height() << ", " << scene.font << " pt"
         << (scene.is_large ? ", 200 components" : "");
}

/// The windows at the sizes that they have on small and large screens.
class Scenes : public DownloaderDlgTest, public ::testing::WithParamInterface<SCENE_CASE>
{
protected:
    Scenes()
    {
        QApplication::setFont(QFont("DejaVu Sans", GetParam().font));
        if (GetParam().is_large)
            add_many_components(builder);
        else
            for (const char* name : {"one", "two", "three"})
                builder.component(name).pattern_content(3000, 1);
    }
    ~Scenes() override { QApplication::setFont(m_font_of_tests); }

    /// As large as the screen allows.
    static void show_on_screen(QWidget& window, const QSize& wanted)
    {
        window.show();
        window.resize(wanted.boundedTo(GetParam().screen));
        for (int i = 0; i < 3; ++i)
            QApplication::processEvents();
    }
    void expect_nothing_cut(QWidget& window, const char* scene)
    {
        const QSize wanted = window.size().expandedTo(window.sizeHint());
        show_on_screen(window, wanted);
        EXPECT_EQ(cut_controls(window).join("\n").toStdString(), "") << scene;
        EXPECT_LE(window.width(), GetParam().screen.width()) << scene;
        EXPECT_LE(window.height(), GetParam().screen.height()) << scene;
    }

private:
    const QFont m_font_of_tests = QApplication::font();
};

}

TEST_P(Scenes, CutNoControlOfTheMainWindow)
{
    open();
    dialog->resize(1180, 800);
    expect_nothing_cut(*dialog, "idle");
    check_auto_install();
    expect_nothing_cut(*dialog, "with the install options");
    line("m_download_dir_line_edit").setText("/a b");
    line("m_install_dir_line_edit").setText("/proc/none");
    EXPECT_TRUE(QTest::qWaitFor(
        [this] { return find<QLabel>("m_download_dir_problem_label").isVisible(); }, long_wait));
    tree().setCurrentIndex(tree().model()->index(0, 0));
    expect_nothing_cut(*dialog, "with problems of both directories");
    find<QLineEdit>("m_filter_edit").setText("nothing like it");
    expect_nothing_cut(*dialog, "filtered");
}

TEST_P(Scenes, CutNoControlOfTheOtherDialogs)
{
    open();
    auto& settings = find<VINST_SETTINGS_DLG>("VINST_SETTINGS_DLG");
    expect_nothing_cut(settings, "settings");
    settings.findChild<QRadioButton*>("m_manual_proxy_radio_btn")->click();
    settings.findChild<QLineEdit*>("m_proxy_port_line_edit")->setText("nonsense");
    expect_nothing_cut(settings, "settings with a bad port");
    settings.hide();
    auto& log = find<VINST_LOG_VIEWER_DLG>("VINST_LOG_VIEWER_DLG");
    log.findChild<QLineEdit*>("m_search_edit")->setText("part");
    expect_nothing_cut(log, "log");
}

TEST_P(Scenes, CutNoControlOfMessages)
{
    open();
    const auto show_message = [this](const std::string& text)
    {
        when([] { return QApplication::activeModalWidget() != nullptr; },
             [this]
             {
                 QWidget& box = *QApplication::activeModalWidget();
                 expect_nothing_cut(box, "message");
                 box.close();
             });
        show_message_box(text, true);
    };
    show_message("A short message.");
    std::string text = "These components failed:\n\n";
    for (int i = 0; i < 80; ++i)
        text += " - a component with a long name, number " + std::to_string(i) + "\n";
    show_message(text);
}

INSTANTIATE_TEST_SUITE_P(Sizes, Scenes,
                         ::testing::Values(SCENE_CASE{{1016, 560}, 9, false},
                                           SCENE_CASE{{1016, 560}, 9, true},
                                           SCENE_CASE{{1912, 1040}, 9, false},
                                           SCENE_CASE{{1912, 1040}, 9, true},
                                           SCENE_CASE{{1912, 1040}, 14, true}));
