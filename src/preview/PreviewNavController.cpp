#include "preview/PreviewNavController.h"

PreviewNavController::PreviewNavController(QObject *parent)
    : NavigationController(parent)
{
}

void PreviewNavController::viewDidLoad()
{
    NavigationController::viewDidLoad();
}

void PreviewNavController::didReceiveMemoryWarning()
{
    NavigationController::didReceiveMemoryWarning();
}
