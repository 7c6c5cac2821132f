<?php
// SabreDAV (php-sabre-dav) over the folder in $DAV_ROOT, for PHP's built-in server, as the
// tests' second WebDAV server. Its quota (RFC 4331) is read from the JSON file $DAV_QUOTA,
// {"used": bytes, "available": bytes}, when that exists, so a test sets the user's plan;
// {"fail": "message"} answers 503; no file means the disk's.
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
        $file = getenv('DAV_QUOTA');
        if ($file && is_readable($file)) {
            $quota = json_decode(file_get_contents($file), true);
            if (!empty($quota['fail'])) {
                throw new \Sabre\DAV\Exception\ServiceUnavailable($quota['fail']);
            }
            return [(int)$quota['used'], (int)$quota['available']];
        }
        return parent::getQuotaInfo();
    }
}

$server = new \Sabre\DAV\Server(new QuotaDirectory(getenv('DAV_ROOT')));
$server->setBaseUri('/');
$server->addPlugin(new \Sabre\DAV\Locks\Plugin(new \Sabre\DAV\Locks\Backend\File(getenv('DAV_LOCKS'))));
$server->exec();
