#include "install/vinst/gui/vinst_downloader_treeview.h"
#include "install/vinst/release/vinst_data.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

namespace
{

constexpr int components = 5000;
constexpr int members_of_a_group = 100;
constexpr int rounds = 5;

VINST_COMPONENT* add(VINST_RELEASE& release, const QString& name, VINST_COMPONENT* parent)
{
    VINST_COMPONENT* component = release.add_component();
    component->name = name;
    component->title = "The part " + name;
    component->filename = name + ".run";
    component->platform = "linux";
    component->kind = VINST_COMPONENT_KIND::download;
    component->selection = VINST_SELECTION::selected;
    component->size = 1'000'000;
    component->installsize = 2e6;
    component->desc = "What it is for, in a sentence or two that a user reads.";
    component->md5sum = "0123456789abcdef0123456789abcdef";
    component->parent = parent;
    if (parent != nullptr)
        parent->children.push_back(component);
    release.index_component(component);
    return component;
}

/// One root, groups below it, and members below these: three levels.
void fill(VINST_RELEASE& release)
{
    VINST_COMPONENT* const root = add(release, "root", nullptr);
    VINST_COMPONENT* group = nullptr;
    for (int number = 1; number < components; ++number)
    {
        const QString name = "part_" + QString::number(number);
        if (number % members_of_a_group == 1)
            group = add(release, name, root);
        else
            add(release, name, group);
    }
}

/// The median, in milliseconds.
double time_of(const std::function<void()>& action)
{
    std::vector<double> times;
    for (int round = 0; round < rounds; ++round)
    {
        QElapsedTimer timer;
        timer.start();
        action();
        times.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

void print(const char* what, double time, double aim)
{
    std::printf("%-58s %8.1f ms   (aim: %.0f ms)\n", what, time, aim);
}

}

int main(int argc, char** argv)
{
    const QTemporaryDir home;
    qputenv("HOME", home.path().toLocal8Bit());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);

    VINST_RELEASE release;
    release.set_download_dir(home.path());
    fill(release);
    VINST_DOWNLOADER_TREEVIEW tree;
    tree.set_release(release);
    tree.set_platform("linux");
    tree.resize(1000, 700);
    tree.show();
    const auto settle = [] { QApplication::processEvents(); };

    print("5,000 components: the tree fills and is drawn",
          time_of(
              [&]
              {
                  tree.populate();
                  settle();
              }),
          1000);
    const QPoint root = tree.visualRect(tree.model()->index(0, 0)).center();
    print("a click on the root, with all descendants, until drawn",
          time_of(
              [&]
              {
                  QTest::mouseClick(tree.viewport(), Qt::LeftButton, {}, root);
                  settle();
              }),
          150);
    // An odd number of clicks on a checked row.
    const VINST_COMPONENT& last = *release.components().back();
    if (tree.model()->rowCount() != 1 || last.selection != VINST_SELECTION::not_selected)
    {
        std::fprintf(stderr, "The tree did not do what was measured\n");
        return 1;
    }
    quint64 percent = 0;
    print("a progress pass over all rows, until drawn",
          time_of(
              [&]
              {
                  percent += 7;
                  for (const auto& component : release.components())
                      tree.show_percentage(component.get(), percent);
                  settle();
              }),
          50);
    for (const auto& component : release.components())
        tree.show_integrity(component.get(), VINST_INTEGRITY_STATE::passed);
    print("the same over rows that have passed, each told so again",
          time_of(
              [&]
              {
                  percent += 7;
                  for (const auto& component : release.components())
                  {
                      tree.show_percentage(component.get(), percent);
                      tree.show_integrity(component.get(), VINST_INTEGRITY_STATE::passed);
                  }
                  settle();
              }),
          50);
    const VINST_SELECTION before = last.selection;
    int key = 0;
    print("a key press in the filter, until drawn",
          time_of(
              [&]
              {
                  // Fewer rows each time, then all again, as while a user types.
                  const QStringList typed{"p", "pa", "part_4", "part_47", ""};
                  tree.set_filter(typed[key++ % typed.size()]);
                  settle();
              }),
          50);
    if (last.selection != before)
    {
        std::fprintf(stderr, "The filter has changed the selection\n");
        return 1;
    }
    print("the rows' states stored", time_of([&] { tree.save_states(); }), 1000);
    print("the rows' states restored", time_of([&] { tree.restore_states(); }), 1000);
    return 0;
}
