#pragma once

#include "platform/ui/NavigationController.h"

/// A navigation controller for previews shown on their own; the browser's own stack is used
/// instead, so nothing makes one today.
class PreviewNavController final : public NavigationController
{
    Q_OBJECT

public:
    explicit PreviewNavController(QObject *parent = nullptr);

    void didReceiveMemoryWarning() override;

protected:
    void viewDidLoad() override;
};
