<?php
// SabreDAV (php-sabre-dav) over the folder in $DAV_ROOT, for PHP's built-in server, as the
// tests' second WebDAV server. Its quota (RFC 4331) is read from the JSON file $DAV_QUOTA,
// {"used": bytes, "available": bytes}, when that exists, so a test sets the user's plan;
// {"fail": "message"} answers 503; no file means the disk's. A document larger than the
// quota's "available" is refused with 507. $DAV_FAULTS, a JSON object {"PUT /path": status},
// makes those requests fail with that status. $DAV_OVERWRITES, a JSON object {"/path": "text"},
// writes that text over the document once right after the next PUT of it has been answered:
// another device writing at the same instant. Every request is logged to $DAV_LOG as
// "METHOD /path STATUS RANGE", as the Apache server's access log.
require '/usr/share/php/Sabre/autoload.php';

class QuotaDirectory extends \Sabre\DAV\FSExt\Directory
{
    public function getChild($name)
    {
        $child = parent::getChild($name);
        return $child instanceof \Sabre\DAV\FSExt\Directory ? new QuotaDirectory($child->path) : $child;
    }

    public function getChildren()
    {
        $nodes = [];
        foreach (scandir($this->path) as $name) {
            if ($name != '.' && $name != '..') {
                $nodes[] = $this->getChild($name);
            }
        }
        return $nodes;
    }

    public function getQuotaInfo()
    {
        $quota = quotaFile();
        if ($quota) {
            if (!empty($quota['fail'])) {
                throw new \Sabre\DAV\Exception\ServiceUnavailable($quota['fail']);
            }
            return [(int)$quota['used'], (int)$quota['available']];
        }
        return parent::getQuotaInfo();
    }
}

function quotaFile()
{
    $file = getenv('DAV_QUOTA');
    return $file && is_readable($file) ? json_decode(file_get_contents($file), true) : null;
}

$method = $_SERVER['REQUEST_METHOD'];
$path = rawurldecode(parse_url($_SERVER['REQUEST_URI'], PHP_URL_PATH));
register_shutdown_function(function () use ($method, $path) {
    file_put_contents(getenv('DAV_LOG'), $method . ' ' . $path . ' ' . http_response_code() . ' '
                      . ($_SERVER['HTTP_RANGE'] ?? '-') . "\n", FILE_APPEND | LOCK_EX);
});

$faults = getenv('DAV_FAULTS');
if ($faults && is_readable($faults)) {
    $list = json_decode(file_get_contents($faults), true) ?: [];
    if (isset($list[$method . ' ' . $path])) {
        http_response_code((int)$list[$method . ' ' . $path]);
        header('Content-Type: text/plain');
        echo "A fault the test asked for\n";
        exit;
    }
}

$quota = quotaFile();
if ($method === 'PUT' && $quota && isset($quota['available'])
    && (int)($_SERVER['CONTENT_LENGTH'] ?? 0) > (int)$quota['available']) {
    http_response_code(507);
    header('Content-Type: text/plain');
    echo "The quota is used up\n";
    exit;
}

$server = new \Sabre\DAV\Server(new QuotaDirectory(getenv('DAV_ROOT')));
$server->setBaseUri('/');
$server->addPlugin(new \Sabre\DAV\Locks\Plugin(new \Sabre\DAV\Locks\Backend\File(getenv('DAV_LOCKS'))));
$server->exec();

$overwrites = getenv('DAV_OVERWRITES');
if ($method === 'PUT' && $overwrites && is_readable($overwrites)) {
    $list = json_decode(file_get_contents($overwrites), true) ?: [];
    if (isset($list[$path])) {
        file_put_contents(getenv('DAV_ROOT') . $path, $list[$path]);
        unset($list[$path]);
        file_put_contents($overwrites, json_encode((object)$list));
    }
}
